#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "FileDescriptor.h"
#include "IsolatedCheck.h"
#include "Platform.h"
#include "QuietWrite.h"
#include "SystemCallHooks.h"
#include "TemporaryDirectory.h"

namespace {

// A pipe whose ends are closed with it.
struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

}  // namespace

TEST(QuietWriteTest, WritesToFilesPipesAndDevices) {
    const TemporaryDirectory dir;
    const auto file = FileDescriptor::Open((dir / "file").c_str(), O_WRONLY | O_CREAT, 0600);
    const std::string text(1'000'000, 'x');
    EXPECT_EQ(QuietWrite(file.Get(), text), text.size());
    EXPECT_EQ(ReadFile(dir / "file"), text);

    const Pipe pipe;
    EXPECT_EQ(QuietWrite(pipe.writer.Get(), "text"), 4U);
    std::array<char, 10> read = {};
    EXPECT_EQ(pipe.reader.Read(read.data(), read.size()), 4);
    EXPECT_STREQ(read.data(), "text");

    EXPECT_EQ(QuietWrite(FileDescriptor::Open("/dev/null", O_WRONLY).Get(), text), text.size());
}

TEST(QuietWriteTest, DoesNotWaitForFullPipe) {
    ExpectHolds(InChild([] {
        const Pipe pipe;
        const std::string text(1000, 'x');
        while (QuietWrite(pipe.writer.Get(), text) == text.size()) {
        }
        const bool isStuck = errno == EAGAIN && QuietWrite(pipe.writer.Get(), text) == 0;
        const bool isBlocking = (fcntl(pipe.writer.Get(), F_GETFL) & O_NONBLOCK) == 0;
        return isStuck && isBlocking;
    }));
}

// Another process that writes to the same pipe or socket can fill it after poll() reported room.
TEST(QuietWriteTest, DoesNotWaitWhenOtherProcessTakesTheRoom) {
    if (!kLinux) {
        GTEST_SKIP() << kNoSystemCallHooks;
    }
    const std::string text(100, 'x');
    for (const bool isSocket : {false, true}) {
        ExpectHolds(InChild([&] {
            alarm(5);  // ends a write that waits
            int ends[2] = {-1, -1};
            if ((isSocket ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends)) != 0) {
                return false;
            }
            systemCallHooks.afterPoll = [&] {
                const int flags = fcntl(ends[1], F_GETFL);
                fcntl(ends[1], F_SETFL, flags | O_NONBLOCK);
                while (write(ends[1], text.data(), text.size()) > 0) {
                }
                fcntl(ends[1], F_SETFL, flags);
            };
            return QuietWrite(ends[1], text) == 0 && errno == EAGAIN;
        }));
    }
}

TEST(QuietWriteTest, DoesNotWaitForFullSocket) {
    ExpectHolds(InChild([] {
        int ends[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
            return false;
        }
        const std::string text(1000, 'x');
        while (QuietWrite(ends[0], text) == text.size()) {
        }
        const bool isStuck = errno == EAGAIN;
        close(ends[1]);
        return isStuck && QuietWrite(ends[0], text) == 0 && errno == EPIPE;
    }));
}

TEST(QuietWriteTest, WritesAsMuchOfLargeTextAsPipeTakes) {
    ExpectHolds(InChild([] {
        const Pipe pipe;
        const std::string text(1'000'000, 'x');
        const std::size_t written = QuietWrite(pipe.writer.Get(), text);
        return written > 0 && written < text.size() && errno == EAGAIN;
    }));
}

TEST(QuietWriteTest, DoesNotWaitForStuckTerminal) {
    ExpectHolds(InChild([] {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
            NotPossibleHere("open a pseudo-terminal");
        }
        const auto slave = FileDescriptor::Open(ptsname(terminal), O_RDWR | O_NOCTTY);
        const std::string line(777, 'x');
        int lines = 0;
        while (lines < 10'000 && QuietWrite(slave.Get(), line + "\n") == line.size() + 1) {
            ++lines;
        }
        return lines > 0 && lines < 10'000 && errno == EAGAIN;
    }));
}

TEST(QuietWriteTest, PipeWithoutReaderRaisesNoSignal) {
    ExpectHolds(InChild([] {
        Pipe pipe;
        pipe.reader.Close();
        return QuietWrite(pipe.writer.Get(), "text") == 0 && errno == EPIPE;
    }));
}

TEST(QuietWriteTest, FileSizeLimitRaisesNoSignal) {
    const TemporaryDirectory dir;
    ExpectHolds(InChild([&] {
        const auto file = FileDescriptor::Open((dir / "file").c_str(), O_WRONLY | O_CREAT, 0600);
        const rlimit limit = {10, 10};
        setrlimit(RLIMIT_FSIZE, &limit);
        return QuietWrite(file.Get(), "ten bytes!") == 10 && QuietWrite(file.Get(), "more") == 0 &&
               errno == EFBIG;
    }));
}

TEST(QuietWriteTest, ReportsClosedDescriptor) {
    EXPECT_EQ(QuietWrite(-1, "text"), 0U);
    EXPECT_EQ(errno, EBADF);
}
