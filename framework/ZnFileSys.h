// Files and directories of the framework (libZnFileSys).
// Paths are NUL-terminated byte strings. Nothing throws or logs, and a null path is a failure.
// Every operation is safe from any thread as long as the threads work on different paths.
#pragma once

#include <string>
#include <vector>

#include "ZnExport.h"

// Directories.
class ZN_API ZnDir {
   public:
    // Creates the one directory `path`; its parent must exist. `mode` holds the permission bits
    // (0777 at most), reduced by the process's umask.
    // Returns 0 when it was created, non-zero otherwise, also when it exists already.
    static int ZnMkDir(const char* path, unsigned short mode);
};

// WriteBinFile and ZnCopyFile replace a file atomically: they write a temporary file in the same
// directory, fsync it and rename it, so that `path` holds either the old or the new contents at
// every moment, also after a crash. This needs write permission in the directory, not for the old
// file. A link is itself replaced, not its target. A directory, device, pipe or socket is never
// replaced.
//
// The name of a temporary file is ".zn-" and 16 lower-case hexadecimal digits. A process that is
// killed leaves its temporary file behind. Other processes remove it after they have replaced a
// file in the same directory: at the latest when as many files have been replaced in a row as the
// directory has entries. Files in use are locked and never removed.
class ZN_API ZnFile {
   public:
    // Deletes the file or link `path`. Returns 0 on success, non-zero otherwise. A directory is not
    // deleted.
    static int RemoveFile(const char* path);

    // Replaces the contents of `path` with the `length` bytes at `data`, creating the file if
    // needed. A new file gets the permissions 0666 less the umask; a replaced file keeps its own,
    // without set-user-ID and the like. `data` may be null when `length` is 0. Returns `length` on
    // success. After a failure, such as a full disk, the result is -1 (0 for a negative `length`)
    // and `path` is unchanged.
    static long long WriteBinFile(const char* path, const char* data, long long length);

    // Appends the `length` bytes at `data` to the file `path`, creating it if needed with the
    // permissions 0666 less the umask. `data` may be null when `length` is 0.
    // Returns the number of bytes appended: fewer than `length` when the disk is full, -1 when
    // `path` cannot be opened, is not a regular file, or the system reports lost data when closing
    // it, 0 for a negative `length`.
    static long long AppendWriteFile(const char* path, const char* data, long long length);

    // Fills `files` with the paths of all regular files in `directory` and its subdirectories, in
    // byte order, replacing its contents. Each path is `directory`, a "/" unless it ends in one,
    // and the path below it. Names are bytes of any encoding. Links below `directory` are neither
    // listed nor followed, even if they replace a directory during the scan; `directory` itself may
    // be one. Returns 0 on success, non-zero when a directory could not be read; `files` then lists
    // those in the others.
    static int ScanDirectoriesFiles(std::string directory, std::vector<std::string>& files);

    // Returns the size of the file `path` in bytes, or -1 when there is no such file or it is not a
    // regular file. Links are followed.
    static long long FileSize(const char* path);

    // Copies the file `source` to `destination`, contents and permission bits (0777 at most,
    // whatever the umask), replacing an existing file. A link at `source` is followed; it must lead
    // to a regular file. Returns 0 on success, non-zero otherwise, also when the size of `source`
    // changes meanwhile; `destination` is then unchanged.
    static int ZnCopyFile(const char* source, const char* destination);
};
