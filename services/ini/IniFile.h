// Reading files, and telling whether they changed since.
#pragma once

#include <sys/stat.h>

#include <ctime>
#include <optional>
#include <string>

// What the file system tells of the state of a file. A file that changed has another stamp, unless
// it changed again within the same tick of the file system's clock.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified = {};
    timespec changed = {};

    // Whether this is a stamp of the same file, changed or not.
    bool IsOfSameFile(const FileStamp& other) const {
        return device == other.device && inode == other.inode;
    }
    bool operator==(const FileStamp& other) const;
};

// What was read from a file.
struct FileContents {
    std::string text;
    FileStamp stamp;  // from just before the reading
    // Whether every later change will show in the stamp, because the tick of the last change was
    // over when the file was read.
    bool settled = false;
};

// The stamp of the regular file `path`, or nothing when there is none.
std::optional<FileStamp> StampOf(const char* path);

// Reads the regular file `path`. Returns nothing when there is none, when it cannot be read, or
// when it is larger than 16 MiB, as no INI file is. Never waits for a pipe.
std::optional<FileContents> ReadContents(const char* path);
