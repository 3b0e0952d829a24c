// The library's test for existence.
#pragma once

#include <unistd.h>

#include <string>

// Whether `path` exists; links are followed.
inline bool FileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}
