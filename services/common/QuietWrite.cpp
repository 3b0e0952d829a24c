#include "QuietWrite.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "FileDescriptor.h"
#include "SignalBlocker.h"

namespace {

// How many bytes can be written at once without waiting when poll() reports room. A terminal that
// is stuck takes fewer than a pipe.
std::size_t RoomAfterPoll(int fd, const struct stat& status) {
    constexpr std::size_t kTerminalRoom = 100;
    return S_ISCHR(status.st_mode) && isatty(fd) == 1 ? kTerminalRoom : PIPE_BUF;
}

// Whether `size` more bytes exceed the limit for file sizes.
bool ExceedsSizeLimit(const struct stat& status, std::size_t size) {
    rlimit limit = {};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
           static_cast<rlim_t>(status.st_size) + size > limit.rlim_cur;
}

bool HasRoom(int fd) {
    pollfd room = {fd, POLLOUT, 0};
    return RetryOnEintr([&] { return poll(&room, 1, 0); }) > 0;
}

// Writes to something other than a regular file without waiting; the descriptor is usually a
// blocking one.
ssize_t WriteWithoutWaiting(int fd, const struct stat& status, std::string_view text) {
    // Needed even if the write does not wait: short notes would fill up a pipe that is too full
    // for a record.
    if (!HasRoom(fd)) {
        errno = EAGAIN;
        return -1;
    }
    if (S_ISSOCK(status.st_mode)) {
        return send(fd, text.data(), text.size(), MSG_DONTWAIT);
    }
#ifdef RWF_NOWAIT
    const iovec block = {const_cast<char*>(text.data()), text.size()};
    const ssize_t count = pwritev2(fd, &block, 1, -1, RWF_NOWAIT);
    if (count >= 0 || (errno != EOPNOTSUPP && errno != ENOSYS)) {
        return count;
    }
#endif
    return write(fd, text.data(), text.size());
}

}  // namespace

std::size_t QuietWrite(int fd, std::string_view text) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return 0;
    }
    const bool isFile = S_ISREG(status.st_mode);
    if (isFile && ExceedsSizeLimit(status, text.size())) {
        errno = EFBIG;
        return 0;
    }
    const std::size_t largest = isFile ? text.size() : RoomAfterPoll(fd, status);
    const SignalBlocker signalBlocker(fd);
    std::size_t written = 0;
    while (written < text.size()) {
        const std::string_view next = text.substr(written, largest);
        const ssize_t count = RetryOnEintr([&] {
            return isFile ? write(fd, next.data(), next.size())
                          : WriteWithoutWaiting(fd, status, next);
        });
        if (count <= 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    return written;
}
