// Keeps a failing write from ending the process.
#pragma once

#include <csignal>

// While it lives, a write of this thread to `fd` that has no reader, or that exceeds the limit for
// file sizes, fails with an error instead of raising SIGPIPE or SIGXFSZ. It does not affect other
// threads, and signals that were pending before stay pending.
class SignalBlocker {
   public:
    explicit SignalBlocker(int fd);
    ~SignalBlocker();
    SignalBlocker(const SignalBlocker&) = delete;
    SignalBlocker& operator=(const SignalBlocker&) = delete;

   private:
#ifdef __APPLE__
    const int fd_;
    int flagBefore_;
#else
    sigset_t pendingBefore_;
    sigset_t maskBefore_;
#endif
};
