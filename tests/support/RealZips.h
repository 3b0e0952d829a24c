// Zips and digests made by the programs of the system.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"

// Creates or replaces the zip `path` with files given by name and contents.
inline void MakeZip(const std::string& path, const std::map<std::string, std::string>& files) {
    const TemporaryDirectory contents;
    for (const auto& [name, text] : files) {
        WriteFile(contents / ("in/" + name), text);
    }
    OutputOf("cd " + contents / "in" + " && zip -X -qr ../new.zip .");
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::filesystem::copy_file(contents / "new.zip", path,
                               std::filesystem::copy_options::overwrite_existing);
}

// The SHA-256 of a file in lower-case hexadecimal digits.
inline std::string Sha256Of(const std::string& path) {
    return OutputOf("sha256sum <" + path).substr(0, 64);
}
