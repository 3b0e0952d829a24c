// Files and directories of the framework (libZnFileSys).
// Paths are NUL-terminated byte strings, used as they stand. Nothing throws or logs, and a null
// path is a failure like any other. Every operation is safe from any thread as far as the threads
// work on different paths.
#pragma once

#include <string>
#include <vector>

#include "ZnExport.h"

class ZN_API ZnDir {
   public:
    // Creates the one directory `path`; its parent must exist. `mode` holds the permission bits
    // (0777 at most), reduced by the process's umask.
    // Returns 0 when it was created, non-zero otherwise (also when it exists already). Callers do
    // not look at the result: they test the path with access() before and after.
    static int ZnMkDir(const char* path, unsigned short mode);
};

// WriteBinFile and ZnCopyFile replace a file as a whole. They write a file with a name of its own,
// beginning with ".zn-", in the same directory, have it put on the disk, and rename it. So `path`
// holds the old contents or the new ones at every moment, also after a crash. This needs write
// permission in the directory, not on the old file. A link at `path` is itself replaced; what it
// points at stays as it is. A directory, device, pipe or socket is never replaced.
class ZN_API ZnFile {
   public:
    // Deletes the file `path`; of a link, the link itself. Returns 0 on success, non-zero
    // otherwise; a directory is not deleted.
    static int RemoveFile(const char* path);

    // Replaces the contents of `path` by the `length` bytes at `data`, creating the file if needed.
    // A new file gets the permissions 0666 less the umask, a replaced file keeps its own (without
    // set-user-id and the like). `data` may be null when `length` is 0.
    // Returns the number of bytes written; the write succeeded exactly when that equals `length`.
    // After any failure, a full disk included, the result is -1 (0 for a negative `length`) and
    // `path` holds what it held before.
    static long long WriteBinFile(const char* path, const char* data, long long length);

    // Appends the `length` bytes at `data` to the file `path`, creating it if needed with the
    // permissions 0666 less the umask. `data` may be null when `length` is 0.
    // Returns the number of bytes appended: fewer than `length` when the disk is full, -1 when
    // `path` cannot be opened or is not a file or the system reports on closing it that bytes are
    // lost, 0 for a negative `length`. Callers do not look at it.
    static long long AppendWriteFile(const char* path, const char* data, long long length);

    // Fills `files` with the paths of all regular files below `directory`, replacing what it held.
    // Each entry is `directory`, a "/" unless it ends in one, and the rest of the path; it can be
    // opened as it stands. Names are bytes, of any encoding. Sub-directories are descended into.
    // Links below `directory` are neither listed nor followed; `directory` itself may be one. The
    // order is the byte order of the paths.
    // Returns 0 on success, non-zero when a directory could not be read; `files` then holds what
    // was found in the others. Callers judge the scan by `files`.
    static int ScanDirectoriesFiles(std::string directory, std::vector<std::string>& files);

    // Returns the size of the file `path` in bytes, or -1 when there is no such file or it is not a
    // regular file. Links are followed. Callers take 0 or less as a missing or empty file.
    static long long FileSize(const char* path);

    // Copies the file `source` to `destination`, contents and permission bits (0777 at most,
    // whatever the umask), replacing a file that is there. A link at `source` is followed; anything
    // but a regular file is refused. Returns 0 on success, non-zero otherwise; after a failure
    // `destination` holds what it held before. At no moment does it hold a part of the new
    // contents.
    static int ZnCopyFile(const char* source, const char* destination);
};
