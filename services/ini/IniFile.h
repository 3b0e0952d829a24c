// Reading files, and detecting whether they have changed since.
#pragma once

#include <sys/stat.h>

#include <ctime>
#include <optional>
#include <string>

// The state of a file as the file system reports it. A changed file has a different stamp, unless
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

struct FileContents {
    std::string text;
    FileStamp stamp;  // from just before reading

    // Whether every later change will show in the stamp, because the clock tick of the last change
    // had passed when the file was read.
    bool isStable = false;
};

// Returns the stamp of the regular file `path`, or nothing when there is none.
std::optional<FileStamp> StampOf(const char* path);

// Reads the regular file `path`; `now` is the current time. Returns nothing when the file does not
// exist, cannot be read or is larger than 16 MiB. Never waits for a FIFO.
std::optional<FileContents> ReadContents(const char* path, const timespec& now);

// Whether the file system clock's tick in which a file `changed` has passed: false while the file
// could change again without a new stamp, and for a time in the future.
bool IsTickOver(const timespec& changed, const timespec& now);
