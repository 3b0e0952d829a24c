// Paths of package zips.
#pragma once

#include <filesystem>
#include <string>

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The last component of a path.
inline std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// One spelling of an absolute path for every way to write `path`. Links in the directory are
// resolved, a link at the path itself is not. Throws std::runtime_error when a directory cannot be
// searched.
inline std::string CanonicalPath(const std::string& path) {
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    return (std::filesystem::weakly_canonical(absolute.parent_path()) / absolute.filename())
        .string();
}

// The path with a directory in front, if it has none: the library would unpack a zip without one
// into the root directory.
inline std::string WithDirectory(const std::string& path) {
    return Contains(path, "/") ? path : "./" + path;
}
