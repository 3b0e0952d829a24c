#include "Replacement.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

// A new name beside `path`. It cannot be foreseen, so nobody can occupy it beforehand.
std::string NameBeside(const std::string& path) {
    static const char kDigits[] = "0123456789abcdef";
    unsigned char random[8] = {};
    // Without entropy the name is not secret; creating it exclusively stays safe all the same.
    (void)getentropy(random, sizeof random);
    std::string name = path.substr(0, path.rfind('/') + 1) + ".zn-";
    for (const unsigned char byte : random) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 15];
    }
    return name;
}

}  // namespace

Replacement::Replacement(const char* path, mode_t mode)
    : path_(path),
      temporary_(NameBeside(path_)),
      file_(open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)) {
    if (!file_.IsOpen()) {
        temporary_.clear();
    }
}

Replacement::~Replacement() {
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

bool Replacement::Commit() {
    if (!file_.Sync() || !file_.Close() || rename(temporary_.c_str(), path_.c_str()) != 0) {
        return false;
    }
    temporary_.clear();
    return true;
}
