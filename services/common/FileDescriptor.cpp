#include "FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

// Repeats `operation` while a signal interrupts it.
template <typename Operation>
auto RetryOnEintr(Operation operation) {
    auto result = operation();
    while (result < 0 && errno == EINTR) {
        result = operation();
    }
    return result;
}

}  // namespace

FileDescriptor FileDescriptor::Open(const char* path, int flags, mode_t mode) {
    return FileDescriptor(RetryOnEintr([&] { return open(path, flags | O_CLOEXEC, mode); }));
}

FileDescriptor FileDescriptor::OpenRegularFile(const char* path) {
    FileDescriptor file = Open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return FileDescriptor();
    }
    if (!S_ISREG(status.st_mode)) {
        file.Close();
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return file;
}

FileDescriptor::~FileDescriptor() {
    const int error = errno;
    Close();
    errno = error;
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = other.Release();
    }
    return *this;
}

bool FileDescriptor::Close() {
    if (!IsOpen()) {
        return true;
    }
    // An interrupted close is not repeated: by then, the number may belong to another file.
    return close(Release()) == 0 || errno == EINTR;
}

ssize_t FileDescriptor::Read(void* buffer, std::size_t size) const {
    return RetryOnEintr([&] { return read(fd_, buffer, size); });
}

ssize_t FileDescriptor::ReadAt(char* buffer, std::size_t size, off_t offset) const {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = RetryOnEintr([&] {
            return pread(fd_, buffer + done, size - done, offset + static_cast<off_t>(done));
        });
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

bool FileDescriptor::ReadAll(std::string& text, std::size_t maxSize) const {
    std::array<char, 65536> buffer;
    std::size_t total = 0;
    ssize_t count = 0;
    while ((count = Read(buffer.data(), buffer.size())) > 0) {
        total += static_cast<std::size_t>(count);
        if (total > maxSize) {
            errno = EFBIG;
            return false;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count == 0;
}

long long FileDescriptor::Write(const char* data, long long length) const {
    // Some systems refuse a single write of 2 GiB or more.
    constexpr long long kLargestWrite = 1LL << 30;
    long long written = 0;
    while (written < length) {
        const auto size = static_cast<std::size_t>(std::min(length - written, kLargestWrite));
        const ssize_t count = RetryOnEintr([&] { return write(fd_, data + written, size); });
        if (count <= 0) {
            break;
        }
        written += count;
    }
    return written;
}
