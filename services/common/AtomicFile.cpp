#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "SyncToDisk.h"

AtomicFile::AtomicFile(std::string path, mode_t mode) : path_(std::move(path)) {
    // Another process may remove the file before it is claimed; it then gets another name. This is
    // not tried endlessly, because some file systems report no links for any file.
    constexpr int kMaxAttempts = 5;
    for (int attempt = 1;; ++attempt) {
        temporary_ = TemporaryNameBeside(path_);
        file_ = FileDescriptor::Open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        if (!file_.IsOpen() || ClaimTemporaryFile(file_) || attempt == kMaxAttempts) {
            break;
        }
        unlink(temporary_.c_str());  // in case it is still there
    }
    if (!file_.IsOpen()) {
        temporary_.clear();
    }
}

AtomicFile::~AtomicFile() {
    if (!temporary_.empty()) {
        const int error = errno;
        unlink(temporary_.c_str());
        errno = error;
    }
}

bool AtomicFile::SetMode(mode_t mode) const {
    return fchmod(file_.Get(), mode) == 0;
}

bool AtomicFile::Commit(Cleanup cleanup) {
    return SyncToDisk(file_.Get()) && CommitSynced(cleanup);
}

bool AtomicFile::CommitSynced(Cleanup cleanup) {
    // The file stays open until it is renamed: closing it would give up the claim.
    if (rename(temporary_.c_str(), path_.c_str()) != 0) {
        return false;
    }
    temporary_.clear();
    file_.Close();
    RemoveAbandonedFilesBeside(path_, cleanup);
    return true;
}
