// Characters that rearrange or break the line they are shown in, as UTF-8. They are put together
// here so that no editor is misled by a test's source.
#pragma once

#include <string>

inline std::string RightToLeftOverride() {
    return std::string("\xE2\x80") + '\xAE';
}

inline std::string LineSeparator() {
    return std::string("\xE2\x80") + '\xA8';
}
