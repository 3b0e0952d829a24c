#include "SignalBlocker.h"

#ifdef __APPLE__

#include <fcntl.h>

// macOS sends these signals to the process instead of the writing thread, so blocking them in one
// thread would not help. SIGPIPE can be turned off per file; SIGXFSZ is prevented by QuietWrite().

SignalBlocker::SignalBlocker(int fd) : fd_(fd), flagBefore_(fcntl(fd, F_GETNOSIGPIPE)) {
    fcntl(fd_, F_SETNOSIGPIPE, 1);
}

SignalBlocker::~SignalBlocker() {
    if (flagBefore_ == 0) {
        fcntl(fd_, F_SETNOSIGPIPE, 0);
    }
}

#else

#include <pthread.h>

#include <ctime>

namespace {

constexpr int kSignals[] = {SIGPIPE, SIGXFSZ};

// Removes a pending signal of this thread.
void Discard(int signal) {
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    const timespec noWait = {0, 0};
    sigtimedwait(&one, nullptr, &noWait);
}

}  // namespace

SignalBlocker::SignalBlocker(int /*fd*/) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) {
        sigaddset(&signals, signal);
    }
    sigpending(&pendingBefore_);
    pthread_sigmask(SIG_BLOCK, &signals, &maskBefore_);
}

SignalBlocker::~SignalBlocker() {
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : kSignals) {
        if (sigismember(&pending, signal) == 1 && sigismember(&pendingBefore_, signal) == 0) {
            Discard(signal);
        }
    }
    pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

#endif
