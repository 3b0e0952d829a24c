// Points in time for people and programs to read.
#pragma once

#include <array>
#include <ctime>
#include <string>

// Formats a point in time as in "2026-01-31T23:59:59Z".
inline std::string UtcTime(std::time_t time) {
    std::tm parts = {};
    std::array<char, 32> text = {};
    if (gmtime_r(&time, &parts) != nullptr) {
        (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    }
    return text.data();
}
