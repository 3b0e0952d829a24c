// Which paths the shell takes as they are; the library gives it those of zips unquoted.
#pragma once

#include <string>

// Whether the shell would split, expand or carry out a part of `path`.
inline bool ShellChanges(const std::string& path) {
    return path.find_first_of(" \t\n\r\"'`$&|;<>()[]{}*?\\") != std::string::npos ||
           path.find_first_of("~#") == 0;
}
