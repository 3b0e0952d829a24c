#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "ChildProcess.h"
#include "Interrupt.h"

namespace {

// In a child, because signals belong to the whole process.
ProcessResult InScope(const std::function<void(InterruptScope&)>& body) {
    return RunInChild([&] {
        InterruptScope scope;
        body(scope);
    });
}

}  // namespace

TEST(Interrupt, NotesTheFirstSignal) {
    const ProcessResult result = InScope([](InterruptScope&) {
        raise(SIGTERM);
        raise(SIGINT);
        try {
            ThrowIfInterrupted();
        } catch (const Interrupted& interrupted) {
            printf("%d", interrupted.Signal());
        }
    });
    EXPECT_EQ(result.out, std::to_string(SIGTERM));
}

TEST(Interrupt, LeavesIgnoredSignalsAlone) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const ProcessResult result = RunInChild([&] {
            std::signal(signal, SIG_IGN);
            {
                const InterruptScope scope;
                raise(signal);
                printf("%d ", PendingInterrupt());
                ResetInterruptHandlers();
                raise(signal);
            }
            raise(signal);
            printf("ignored");
        });
        EXPECT_EQ(result.out, "0 ignored") << result;
    }
}

TEST(Interrupt, RestoresHandlers) {
    const ProcessResult result = RunInChild([] {
        std::signal(SIGINT, [](int) { _exit(write(STDOUT_FILENO, "handled", 7) == 7 ? 0 : 1); });
        { const InterruptScope scope; }
        raise(SIGINT);
    });
    EXPECT_EQ(result.out, "handled") << result;
}

TEST(Interrupt, SignalsEndTheProcessAfterTheScope) {
    const ProcessResult result = RunInChild([] {
        { const InterruptScope scope; }
        raise(SIGTERM);
    });
    EXPECT_EQ(result.signal, SIGTERM);
}

TEST(Interrupt, CompleteIgnoresSignals) {
    const ProcessResult result = InScope([](InterruptScope& scope) {
        scope.Complete();
        raise(SIGTERM);
        printf("%d", PendingInterrupt());
    });
    EXPECT_EQ(result.out, "0") << result;
}

TEST(Interrupt, WritingWithoutAReaderIsNoSignal) {
    const ProcessResult result = InScope([](InterruptScope&) { raise(SIGPIPE); });
    EXPECT_TRUE(result.Succeeded()) << result;
}

TEST(Interrupt, ChildGetsTheDefaultActions) {
    const ProcessResult result = InScope([](InterruptScope&) {
        ResetInterruptHandlers();
        raise(SIGTERM);
    });
    EXPECT_EQ(result.signal, SIGTERM);
}
