#include "GlobalOptions.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "Arguments.h"
#include "Color.h"

static bool IsSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

static void Set(const char* name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name, value->c_str(), 1);
    }
}

void GlobalOptions::AddTo(CLI::App& app) {
    app.add_option("--store", store_, "Directory of the policy store")
        ->type_name("DIR")
        ->check(NotEmpty);
    app.add_option("--process-dir", processDirectory_,
                   "Directory to use in place of the running program's")
        ->type_name("DIR")
        ->check(NotEmpty);
    app.add_option("--log-level", logLevel_, "Show log records up to this level")
        ->check(CLI::IsMember({"off", "error", "warning", "info", "debug"}));
    app.add_option("--log-file", logFile_, "Write log records to this file")
        ->type_name("FILE")
        ->check(NotEmpty);
    colorOption_ = app.add_option("--color", color_,
                                  "When to use colours; auto: on terminals, unless NO_COLOR is set")
                       ->check(CLI::IsMember({"auto", "always", "never"}));
}

void GlobalOptions::ApplyColor() const {
    // The variable is not set yet.
    if (colorOption_->count() > 0) {
        SetColorMode(colorOption_->results().back());
    }
}

void GlobalOptions::Apply() const {
    SetColorMode(color_);
    Set("ZN_POLICY_STORE", store_);
    Set("ZN_PROCESS_DIRECTORY", processDirectory_);
    Set("ZN_LOG_FILE", logFile_);
    Set("ZN_LOG_LEVEL", logLevel_);
    if (!IsSet("ZN_LOG_LEVEL") && !IsSet("ZN_LOG_FILE")) {
        setenv("ZN_LOG_LEVEL", "off", 1);
    }
}
