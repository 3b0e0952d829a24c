#include "LogSettings.h"

#include <strings.h>

#include <filesystem>
#include <system_error>

#include "Environment.h"
#include "ZnLogger.h"

namespace {

constexpr int kDefaultThreshold = LogLevelInfo;

// Returns the level with the name or number `text`, or -1 when there is none.
int LevelNamed(const char* text) {
    constexpr const char* kNames[] = {"off", "error", "warning", "info", "debug"};
    int level = 0;
    for (const char* name : kNames) {
        const char number[] = {static_cast<char>('0' + level), '\0'};
        if (strcasecmp(text, name) == 0 || strcasecmp(text, number) == 0) {
            return level;
        }
        ++level;
    }
    return -1;
}

// The log file must not change with the working directory.
std::string AbsolutePath(const char* path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

}  // namespace

LogSettings ReadLogSettings() {
    LogSettings settings = {kDefaultThreshold, "", ""};
    if (const char* level = GetOverride("ZN_LOG_LEVEL")) {
        settings.threshold = LevelNamed(level);
        if (settings.threshold < 0) {
            settings.threshold = kDefaultThreshold;
            settings.complaint = std::string("ZN_LOG_LEVEL is \"") + level +
                                 "\", not one of off, error, warning, info, debug or 0 to 4; "
                                 "info is used";
        }
    }
    if (const char* file = GetOverride("ZN_LOG_FILE")) {
        settings.file = AbsolutePath(file);
    }
    return settings;
}
