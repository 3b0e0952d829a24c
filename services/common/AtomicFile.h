// Replacing a file atomically.
#pragma once

#include <sys/types.h>

#include <string>

#include "FileDescriptor.h"
#include "TemporaryFiles.h"

// Writes a temporary file in the same directory, fsyncs it and renames it over `path`. Without a
// successful Commit() the temporary file is removed and `path` is untouched. What a killed process
// leaves behind is removed by a later Commit() in the same directory; see TemporaryFiles.h.
class AtomicFile {
   public:
    // Creates the temporary file for `path` with the permissions `mode` less the umask. Check
    // IsOpen() afterwards; errno tells why it is not.
    AtomicFile(std::string path, mode_t mode);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    bool IsOpen() const {
        return file_.IsOpen();
    }

    // The temporary file, open for reading and writing.
    const FileDescriptor& File() const {
        return file_;
    }

    // Sets the permissions to exactly `mode`, whatever the umask.
    bool SetMode(mode_t mode) const;

    // Flushes the temporary file to stable storage and renames it over `path`. Returns false, with
    // errno set, when `path` was not replaced. The directory itself is not synced. `cleanup` says
    // when to look for abandoned files.
    bool Commit(Cleanup cleanup = Cleanup::kNowAndThen);

    // The same for a temporary file that the caller has flushed to stable storage.
    bool CommitSynced(Cleanup cleanup = Cleanup::kNowAndThen);

   private:
    const std::string path_;
    std::string temporary_;  // empty when there is nothing to remove
    FileDescriptor file_;
};
