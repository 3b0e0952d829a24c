#include "UpdateDescription.h"

#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "Base64.h"
#include "PolicyAccess.h"
#include "UpdateSource.h"
#include "ZnIni.h"
#include "ZnSysInfo.h"
#include "ZnVcUpdate.h"

namespace {

std::string PolicyName(int terminalId) {
    return "policy " + std::to_string(terminalId);
}

// Throws std::runtime_error when the package tree, without which the library looks for no update
// description, is missing.
void RequireTree() {
    const std::string tree = ZnSysInfo::GetCurrentProcessDirectory() + "/microservices/Package";
    if (access(tree.c_str(), F_OK) != 0) {
        throw std::runtime_error("there is no directory " + tree);
    }
}

// Loads a terminal's policy. Throws std::runtime_error when the library would not look for an
// update description in it: its conditions, in its order.
void LoadUpdatePolicy(ZnXml& xml, int terminalId) {
    LoadPolicy(xml, terminalId);
    std::string text;
    if (!xml.GetXmlContent("PolicyName", text)) {
        throw std::runtime_error(PolicyName(terminalId) + " has no item \"PolicyName\"");
    }
    int enabled = 0;
    if (!xml.GetXmlContent("VirtualChannelEnable", enabled) || enabled == 0) {
        throw std::runtime_error(PolicyName(terminalId) +
                                 " does not enable virtual channels (item "
                                 "\"VirtualChannelEnable\")");
    }
}

// Throws std::runtime_error when the library would refuse a policy's description, which is given as
// far as it could be decoded.
void CheckDescription(int terminalId, const std::string& description) {
    if (description.empty()) {
        throw std::runtime_error(PolicyName(terminalId) +
                                 " has no update description in \"VirtualChannelPluginDetails\" "
                                 "that is plain JSON or Base64");
    }
    const char* const word = MissingDescriptionWord(description);
    if (word != nullptr) {
        throw std::runtime_error("the update description of " + PolicyName(terminalId) +
                                 " does not mention \"" + word + "\"");
    }
}

// The item that the library reads the description from.
std::string DescriptionItem(ZnXml& xml) {
    std::string text;
    if (xml.GetXmlContent("VirtualChannelPluginDetails", text) && text.size() >= 2) {
        return text;
    }
    text.clear();
    if (IniGetInt("PolicyName", "debugVc", 0, FRAMEWORK_DEBUG_CONFIG) == 1) {
        xml.GetXmlContent("ThirdPartyPluginNames", text);
    }
    return text;
}

std::vector<ZnPackageInfo> ParseUpdateOf(int terminalId, const std::string& description) {
    return ParseUpdate(description, "the update description of " + PolicyName(terminalId));
}

}  // namespace

std::vector<ZnPackageInfo> ParseUpdate(const std::string& text, const std::string& name) {
    const bool isPlain = text.find('{') != std::string::npos;
    std::vector<ZnPackageInfo> records;
    if (ZnVcUpdate::ZnConvertToVekPackInfo(isPlain ? text : DecodeBase64(text), records) != 0) {
        throw std::runtime_error(name +
                                 ": no package records; expected a JSON object with a non-empty "
                                 "array \"packageInfo\", or Base64 of it");
    }
    return records;
}

std::vector<ZnPackageInfo> TakeUpdate(int terminalId) {
    std::string description;
    if (ZnVcUpdate::ZnVmVekJsonUpdateInfo(terminalId, description) != 0) {
        RequireTree();
        ZnXml xml;
        LoadUpdatePolicy(xml, terminalId);
        CheckDescription(terminalId, description);
        throw std::runtime_error("the update description of " + PolicyName(terminalId) +
                                 " cannot be stored in " + VEK_MICROSERVICES_VM_UPDATEPOLICY);
    }
    return ParseUpdateOf(terminalId, description);
}

std::vector<ZnPackageInfo> PeekUpdate(int terminalId) {
    RequireTree();
    return ReadUpdate(terminalId);
}

std::vector<ZnPackageInfo> ReadUpdate(int terminalId) {
    ZnXml xml;
    LoadUpdatePolicy(xml, terminalId);
    std::string description = DescriptionItem(xml);
    if (MissingDescriptionWord(description) != nullptr) {
        description = DecodeBase64(description);
        description.resize(std::strlen(description.c_str()));  // it ends at its first NUL
    }
    CheckDescription(terminalId, description);
    return ParseUpdateOf(terminalId, description);
}
