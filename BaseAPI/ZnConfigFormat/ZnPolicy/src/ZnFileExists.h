// The library's one test of existence.
#pragma once

#include <unistd.h>

#include <string>

// Whether there is anything at `path` (links are followed).
inline bool FileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}
