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

// Reads the directory `fd`, taking ownership of it. Returns null, with errno set, when `fd` is not
// an open directory.
inline Directory ReadDirectory(FileDescriptor fd) {
    Directory directory(fdopendir(fd.Get()));
    if (directory) {
        (void)fd.Release();
    }
    return directory;
}
