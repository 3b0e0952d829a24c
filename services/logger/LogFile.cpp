#include "LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace {

// At most 50 MiB are kept: the file itself and four older ones.
constexpr off_t kMaxFileSize = off_t{10} << 20;
constexpr int kOlderFiles = 4;

// The name of the file after `number` rotations: name.log, name.1.log, and so on.
std::string RotatedName(const std::string& path, int number) {
    if (number == 0) {
        return path;
    }
    std::filesystem::path name(path);
    name.replace_extension("." + std::to_string(number) + name.extension().string());
    return name.string();
}

// Whether the regular file `path` ends inside a line: the disk was full, or the process died.
bool EndsInsideLine(const std::string& path) {
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    char last = '\n';
    return file.IsOpen() && lseek(file.Get(), -1, SEEK_END) >= 0 && file.Read(&last, 1) == 1 &&
           last != '\n';
}

}  // namespace

bool LogFile::Append(std::string_view line) {
    if (!Open() || !MakeRoom(line.size())) {
        return false;
    }
    if (writer_.Write(file_.Get(), line)) {
        return true;
    }
    if (errno != EAGAIN) {  // closing a FIFO would end a reader that is only slow
        const int error = errno;
        file_.Close();
        errno = error;
    }
    return false;
}

bool LogFile::Open() {
    struct stat status = {};
    const bool isOpen = file_.IsOpen() && fstat(file_.Get(), &status) == 0;
    if (isOpen && status.st_nlink > 0) {  // a deleted file is begun anew
        return true;
    }
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY;
    file_ = FileDescriptor::Open(path_.c_str(), kFlags, 0666);
    if (!file_.IsOpen() || fstat(file_.Get(), &status) != 0) {
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        writer_.SetCut(EndsInsideLine(path_));
    }
    return true;
}

bool LogFile::MakeRoom(std::size_t size) {
    struct stat status = {};
    if (fstat(file_.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0 ||
        status.st_size + static_cast<off_t>(size) <= kMaxFileSize || !Rotate()) {
        return true;
    }
    file_.Close();
    return Open();
}

bool LogFile::Rotate() {
    struct stat status = {};
    if (lstat(path_.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;  // a link, such as /dev/stderr, stays as it is
    }
    rotationError_ = 0;
    // Files move up to the first free number only, and the oldest one is deleted last. So a
    // rotation that fails erases nothing, however often it is tried again.
    constexpr int kTooOld = kOlderFiles + 1;
    int number = 1;
    while (number < kTooOld && lstat(RotatedName(path_, number).c_str(), &status) == 0) {
        ++number;
    }
    for (; number > 0; --number) {
        if (rename(RotatedName(path_, number - 1).c_str(), RotatedName(path_, number).c_str()) !=
            0) {
            rotationError_ = errno;
            return false;
        }
    }
    unlink(RotatedName(path_, kTooOld).c_str());
    return true;
}
