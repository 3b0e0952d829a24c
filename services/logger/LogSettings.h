// Logging settings from the environment.
#pragma once

#include <string>

struct LogSettings {
    // The least severe level that is written, as in LogLevel; 0 writes nothing.
    int threshold;

    // The log file as an absolute path; empty for standard error.
    std::string file;

    // What is wrong with the settings; empty when nothing is.
    std::string complaint;
};

// Reads ZN_LOG_LEVEL and ZN_LOG_FILE.
LogSettings ReadLogSettings();
