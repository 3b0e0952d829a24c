#include "Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// Calls `operation` again as long as a signal interrupts it.
template <typename Operation>
auto Uninterrupted(Operation operation) {
    auto result = operation();
    while (result < 0 && errno == EINTR) {
        result = operation();
    }
    return result;
}

}  // namespace

bool Descriptor::Close() {
    if (!IsOpen()) {
        return true;
    }
    const int fd = fd_;
    fd_ = -1;
    // An interrupted close is not repeated: the number may belong to another file by then.
    return close(fd) == 0 || errno == EINTR;
}

ssize_t Descriptor::Read(char* buffer, size_t size) const {
    return Uninterrupted([&] { return read(fd_, buffer, size); });
}

long long Descriptor::Write(const char* data, long long length) const {
    // Some systems refuse a single write of 2 GiB or more.
    constexpr long long kLargestWrite = 1LL << 30;
    long long written = 0;
    while (written < length) {
        const auto size = static_cast<size_t>(std::min(length - written, kLargestWrite));
        const ssize_t count = Uninterrupted([&] { return write(fd_, data + written, size); });
        if (count <= 0) {
            break;
        }
        written += count;
    }
    return written;
}

bool Descriptor::Sync() const {
#ifdef __APPLE__
    // fsync() alone leaves the data in the drive's own cache there. Not every file system knows
    // the stronger request.
    if (fcntl(fd_, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    return Uninterrupted([&] { return fsync(fd_); }) == 0;
}
