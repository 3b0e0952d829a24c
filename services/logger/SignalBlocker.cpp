#include "SignalBlocker.h"

#include <pthread.h>

#ifndef __APPLE__
#include <ctime>
#endif

namespace {

constexpr int kSignals[] = {SIGPIPE, SIGXFSZ};

// Takes the signal away from this thread, which blocks it.
void Discard(int signal) {
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
#ifdef __APPLE__
    int taken = 0;
    sigwait(&one, &taken);
#else
    const timespec noWait = {0, 0};
    sigtimedwait(&one, nullptr, &noWait);
#endif
}

}  // namespace

SignalBlocker::SignalBlocker() {
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
        // One that waited before is not ours to take away.
        if (sigismember(&pending, signal) == 1 && sigismember(&pendingBefore_, signal) == 0) {
            Discard(signal);
        }
    }
    pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}
