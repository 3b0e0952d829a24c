#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "SyncToDisk.h"

namespace {

// An unpredictable name in the directory of `path`, so that nobody can occupy it beforehand.
std::string TemporaryNameBeside(const std::string& path) {
    static const char kDigits[] = "0123456789abcdef";
    unsigned char random[8] = {};
    // Without entropy the name is predictable; creating it exclusively is still safe.
    (void)getentropy(random, sizeof random);
    std::string name = path.substr(0, path.rfind('/') + 1) + AtomicFile::kTemporaryPrefix;
    for (const unsigned char byte : random) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 15];
    }
    return name;
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path, mode_t mode)
    : path_(path),
      temporary_(TemporaryNameBeside(path_)),
      file_(FileDescriptor::Open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL, mode)) {
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

bool AtomicFile::Commit() {
    if (!SyncToDisk(file_.Get()) || !file_.Close() ||
        rename(temporary_.c_str(), path_.c_str()) != 0) {
        return false;
    }
    temporary_.clear();
    return true;
}
