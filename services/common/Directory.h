// Reading the entries of a directory.
#pragma once

#include <dirent.h>

#include <memory>
#include <utility>

#include "FileDescriptor.h"

struct CloseDirectory {
    void operator()(DIR* directory) const {
        closedir(directory);
    }
};

// A directory stream for readdir(), or null.
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// Reads the directory `fd`, taking ownership of it. Returns null when `fd` is not a
// directory, with errno set, or not open, with errno unchanged.
inline Directory ReadDirectory(FileDescriptor fd) {
    Directory directory(fd.IsOpen() ? fdopendir(fd.Get()) : nullptr);
    if (directory) {
        (void)fd.Release();
    }
    return directory;
}
