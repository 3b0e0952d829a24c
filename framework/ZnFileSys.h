// Files and directories of the framework (libZnFileSys).
// Paths are NUL-terminated byte strings, used as they stand. Nothing throws or logs. Every
// operation is safe from any thread as far as the threads work on different paths.
#pragma once

#include <string>
#include <vector>

#include "ZnExport.h"

class ZN_API ZnDir {
   public:
    // Creates the one directory `path`; its parent must exist. `mode` holds the permission bits,
    // reduced by the process's umask.
    // Returns 0 when it was created, non-zero otherwise (also when it exists already). Callers do
    // not look at the result: they test the path with access() before and after.
    static int ZnMkDir(const char* path, unsigned short mode);
};

class ZN_API ZnFile {
   public:
    // Deletes the file `path`. Returns 0 on success, non-zero otherwise; a directory is not
    // deleted.
    static int RemoveFile(const char* path);

    // Replaces the contents of `path` by the `length` bytes at `data`, creating the file if needed.
    // Returns the number of bytes written; the write succeeded exactly when that equals `length`.
    // After any failure, a full disk included, `path` holds what it held before.
    static long long WriteBinFile(const char* path, const char* data, long long length);

    // Appends the `length` bytes at `data` to `path`, creating the file if needed.
    // Returns the number of bytes appended; callers do not look at it.
    static long long AppendWriteFile(const char* path, const char* data, long long length);

    // Fills `files` with the paths of all regular files below `directory`, replacing what it held.
    // Each entry is `directory` with the rest of the path joined to it, and can be opened as it
    // stands. Sub-directories are descended into, links to directories are not followed. The order
    // is the byte order of the paths.
    // Returns 0 on success, non-zero when a directory could not be read; `files` then holds what
    // was found. Callers judge the scan by `files`.
    static int ScanDirectoriesFiles(std::string directory, std::vector<std::string>& files);

    // Returns the size of `path` in bytes, or -1 when there is no such file. Callers take 0 or less
    // as a missing or empty file.
    static long long FileSize(const char* path);

    // Copies the file `source` to `destination`, contents and permission bits, replacing a file
    // that is there. Returns 0 on success, non-zero otherwise; after a failure `destination` holds
    // what it held before. At no moment does it hold a part of the new contents.
    static int ZnCopyFile(const char* source, const char* destination);
};
