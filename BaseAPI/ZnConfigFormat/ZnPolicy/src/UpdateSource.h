// Where an update description comes from, where it is stored, and how it is recognised.
#pragma once

#include <string>

inline constexpr char VEK_MICROSERVICES_VM_UPDATEPOLICY[] =
    "/usr/local/vornserver/bin/microservices/Package/VEK_Microservices_UpdateInfo.json";

// Allows the debug item to stand in for the update description.
inline constexpr char FRAMEWORK_DEBUG_CONFIG[] =
    "/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini";

// Returns the first of the words that every update description contains but `text` does not, or
// null when `text` looks like an update description.
inline const char* MissingDescriptionWord(const std::string& text) {
    for (const char* const word : {"platform", "sha256Hash", "packageName"}) {
        if (text.find(word) == std::string::npos) {
            return word;
        }
    }
    return nullptr;
}
