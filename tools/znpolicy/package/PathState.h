// The state of one path in the file system, kept aside so that it can be restored.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <ctime>
#include <string>

struct PathState {
    enum class Kind { kAbsent, kFile, kLink, kDirectory, kOther };

    Kind kind = Kind::kAbsent;
    mode_t mode = 0;  // permission bits
    uid_t owner = 0;
    gid_t group = 0;
    off_t size = 0;
    timespec modified = {};
    std::string target;  // of a symbolic link

    // Tell a file that was not touched from one that was replaced by its like; not compared.
    dev_t device = 0;
    ino_t inode = 0;
    timespec changed = {};

    // The state of `path` now; links are not followed. Throws std::runtime_error when it cannot be
    // determined.
    static PathState Of(const std::string& path);

    // Whether kind, contents as far as size and times tell, owner and permissions are the same.
    bool operator==(const PathState& other) const;
    bool operator!=(const PathState& other) const {
        return !(*this == other);
    }
};

// Whether two states are those of one file, wherever it is and however it was changed.
bool IsSameFile(const PathState& a, const PathState& b);

// Whether `path` has the state `state`; for a regular file, `copy` is what KeepFile kept. Compares
// contents unless the file was certainly not touched. Throws std::runtime_error when a state cannot
// be determined.
bool IsUnchanged(const std::string& path, const PathState& state, const std::string& copy);

// Keeps the regular file `path`, whose state is `state`, as `copy`: by a hard link, or by a copy
// where no link can be made, which is flushed to stable storage. Throws std::runtime_error on
// failure.
void KeepFile(const std::string& path, const PathState& state, const std::string& copy);

// Restores `path` to `state`; for a regular file, `copy` is what KeepFile kept, and stays. Replaces
// files atomically, and leaves untouched ones alone. A directory that was absent is removed only
// when it is empty, and one that was there is made again. Calling it again changes nothing. Throws
// std::runtime_error on failure.
void RestorePath(const std::string& path, const PathState& state, const std::string& copy);
