// Real zips and digests, made by the system's own programs.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

#include "TemporaryDirectory.h"

// What a command writes to its standard output; throws when the command fails.
inline std::string OutputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    std::string output;
    std::array<char, 4096> buffer;
    size_t count = 0;
    while ((count = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
        output.append(buffer.data(), count);
    }
    if (pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + command);
    }
    return output;
}

// Makes the zip `path`, replacing one that is there, of files given by name and contents.
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
