// The packages that installation benchmarks install, and what is at the destination before.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

#include "PrivateMounts.h"
#include "TemporaryDirectory.h"

struct Shape {
    const char* name;
    size_t files;
    size_t fileSize;
};

constexpr Shape kShapes[] = {{"2000-files-of-4-KiB", 2000, size_t{4} << 10},
                             {"20-files-of-32-MiB", 20, size_t{32} << 20}};

// What is at the destination before the installation.
enum class Before { kNothing, kTheSame, kOthers };

constexpr struct {
    const char* name;
    Before before;
} kStates[] = {{"all-new", Before::kNothing},
               {"all-unchanged", Before::kTheSame},
               {"all-replaced", Before::kOthers}};

inline std::string FileName(size_t i) {
    return "f" + std::to_string(10000 + i);
}

// Contents that differ between files and versions.
inline std::string Contents(size_t size, size_t file, char version) {
    std::string contents(size, version);
    for (size_t i = 0; i < size; i += 64) {
        contents.replace(i, 8, std::to_string(10'000'000 + file * 1009 + i % 4093));
    }
    contents.resize(size);
    return contents;
}

// Sets up the directory `destination` before an installation.
inline void PrepareDestination(const std::string& destination, const Shape& shape, Before before) {
    std::filesystem::remove_all(destination);
    std::filesystem::create_directory(destination);
    for (size_t i = 0; before != Before::kNothing && i < shape.files; ++i) {
        const char version = before == Before::kTheSame ? 'n' : 'o';
        WriteFile(destination + FileName(i), Contents(shape.fileSize, i, version));
    }
    // Keeps pending writes out of the measurement.
    ::sync();
}

// Whether the files of `tree` are installed in `destination`, with backups where they are expected.
inline bool IsInstalled(const std::string& tree, const std::string& destination, const Shape& shape,
                        Before before) {
    for (size_t i = 0; i < shape.files; ++i) {
        const std::string path = destination + FileName(i);
        if (!std::filesystem::exists(path) || std::filesystem::file_size(path) != shape.fileSize ||
            std::filesystem::exists(path + ".bak") != (before == Before::kOthers)) {
            return false;
        }
    }
    const std::string last = FileName(shape.files - 1);
    return ReadFile(destination + last) == ReadFile(tree + last);
}

// The shell command that has rsync install them.
inline std::string RsyncCommand(const std::string& tree, const std::string& destination) {
    return "rsync -a --checksum --backup --suffix=.bak --fsync " + tree + " " + destination;
}

// Lets the installer write its mark file, in a private mount namespace.
inline void AllowMark() {
    static const bool allowed = [] {
        EnterPrivateMounts();
        std::filesystem::create_directories("/usr/local/vornserver/bin/microservices");
        return true;
    }();
    static_cast<void>(allowed);
}
