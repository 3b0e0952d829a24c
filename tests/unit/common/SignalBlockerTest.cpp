#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>

#include "IsolatedCheck.h"
#include "Platform.h"
#include "SignalBlocker.h"

namespace {

bool IsPending(int signal) {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

bool IsBlocked(int signal) {
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

// Writes to a pipe without a reader.
bool WriteFailsWithoutReader() {
    int ends[2] = {};
    if (pipe(ends) != 0) {
        return false;
    }
    close(ends[0]);
    const SignalBlocker signalBlocker(ends[1]);
    return write(ends[1], "x", 1) < 0 && errno == EPIPE;
}

}  // namespace

TEST(SignalBlockerTest, BrokenPipeRaisesNoSignal) {
    ExpectHolds(InChild(
        [] { return WriteFailsWithoutReader() && !IsPending(SIGPIPE) && !IsBlocked(SIGPIPE); }));
}

TEST(SignalBlockerTest, KeepsSignalThatWasPendingBefore) {
    if (!kLinux) {
        GTEST_SKIP() << "this system does not send SIGPIPE to threads";
    }
    ExpectHolds(InChild([] {
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        (void)raise(SIGPIPE);
        return WriteFailsWithoutReader() && IsPending(SIGPIPE) && IsBlocked(SIGPIPE);
    }));
}
