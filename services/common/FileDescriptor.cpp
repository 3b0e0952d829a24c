#include "FileDescriptor.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace {

// How often a new file is created again. The last one is kept even where /dev/null cannot be opened
// to protect it.
constexpr int kAttempts = 20;

// Closes `fd` without being a cancellation point: cancelling a thread inside a destructor would end
// the process.
int CloseUncancelled(int fd) {
    int state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    const int result = close(fd);
    const int error = errno;
    pthread_setcancelstate(state, nullptr);
    errno = error;
    return result;
}

// While it lives, /dev/null takes the place of closed standard descriptors. A file opened for
// writing would get one of their numbers for a moment, long enough for output of other threads.
class StandardDescriptorGuard {
   public:
    StandardDescriptorGuard() {
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            if (fcntl(fd, F_GETFD) < 0) {
                guards_[fd] = open("/dev/null", O_RDWR | O_CLOEXEC);
            }
        }
    }
    ~StandardDescriptorGuard() {
        for (const int guard : guards_) {
            if (guard >= 0) {
                CloseUncancelled(guard);
            }
        }
    }
    StandardDescriptorGuard(const StandardDescriptorGuard&) = delete;
    StandardDescriptorGuard& operator=(const StandardDescriptorGuard&) = delete;

   private:
    int guards_[STDERR_FILENO + 1] = {-1, -1, -1};
};

// Moves a standard descriptor to another number.
FileDescriptor AboveStandard(int fd) {
    if (fd > STDERR_FILENO || fd < 0) {
        return FileDescriptor(fd);
    }
    const FileDescriptor low(fd);
    return FileDescriptor(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace

FileDescriptor FileDescriptor::OpenAt(int directory, const char* path, int flags, mode_t mode) {
    const auto open = [&] {
        return RetryOnEintr([&] { return openat(directory, path, flags | O_CLOEXEC, mode); });
    };
    if ((flags & O_ACCMODE) == O_RDONLY) {
        return AboveStandard(open());
    }
    constexpr int kNew = O_CREAT | O_EXCL;
    for (int attempt = 1;; ++attempt) {
        const StandardDescriptorGuard guard;
        const int fd = open();
        const bool isExposed = fd >= 0 && fd <= STDERR_FILENO;
        if (!isExposed || (flags & kNew) != kNew || attempt == kAttempts) {
            return AboveStandard(fd);
        }
        // The number was taken by another thread's guard, which then gave it up: the new file may
        // contain output already.
        unlinkat(directory, path, 0);
        CloseUncancelled(fd);
    }
}

FileDescriptor FileDescriptor::OpenRegularFile(const char* path) {
    FileDescriptor file = Open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return {};
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
    return CloseUncancelled(Release()) == 0 || errno == EINTR;
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

bool FileDescriptor::ReadBlocks(
    const std::function<bool(const char* data, std::size_t size)>& consume) const {
    struct stat status = {};
    if (fstat(fd_, &status) != 0) {
        return false;
    }
    std::array<char, 65536> buffer;
    off_t left = status.st_size;
    ssize_t count = 0;
    while ((count = Read(buffer.data(), buffer.size())) > 0) {
        left -= count;
        if (left < 0 || !consume(buffer.data(), static_cast<std::size_t>(count))) {
            return false;
        }
    }
    return count == 0 && left == 0;
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
