// Paths of package zips.
#pragma once

#include <string>

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The last component of a path.
inline std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The path with a directory in front, if it has none: the library would unpack a zip without one
// into the root directory.
inline std::string WithDirectory(const std::string& path) {
    return Contains(path, "/") ? path : "./" + path;
}
