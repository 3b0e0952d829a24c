#include "SystemCallHooks.h"

SystemCallHooks systemCallHooks;

#ifdef __linux__

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <utility>

namespace {

template <typename Hook, typename... Arguments>
void CallOnce(Hook& hook, Arguments... arguments) {
    if (!hook) {
        return;  // without a write that would race with other threads
    }
    const Hook once = std::exchange(hook, nullptr);
    once(arguments...);
}

}  // namespace

extern "C" {

int openat(int directory, const char* path, int flags, ...) {
    unsigned mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, unsigned);
        va_end(arguments);
    }
    CallOnce(systemCallHooks.beforeOpenat);
    const int fd = static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
    CallOnce(systemCallHooks.afterOpenat, fd);
    return fd;
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    const int result = static_cast<int>(syscall(SYS_poll, descriptors, count, timeout));
    CallOnce(systemCallHooks.afterPoll);
    return result;
}
}

#endif
