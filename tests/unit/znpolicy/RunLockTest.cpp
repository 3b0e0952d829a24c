#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "ChildProcess.h"
#include "Interrupt.h"
#include "RunLock.h"
#include "TemporaryDirectory.h"

using testing::HasSubstr;

namespace {

// What a locking in another process says; "" when it succeeds.
std::string LockInAnotherProcess(const std::string& path) {
    return RunInChild([&] {
               try {
                   const RunLock lock(path, 0);
               } catch (const std::runtime_error& error) {
                   printf("%s", error.what());
               }
           })
        .out;
}

}  // namespace

TEST(RunLock, RefusesASecondProcessAndNamesTheFirst) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    {
        const RunLock lock(path, 0);
        EXPECT_THAT(LockInAnotherProcess(path),
                    HasSubstr("process " + std::to_string(getpid()) + " is working"));
    }
    EXPECT_EQ(LockInAnotherProcess(path), "");
}

TEST(RunLock, IsReleasedWhenItsProcessIsKilled) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    RunInChild([&] {
        const RunLock lock(path, 0);
        raise(SIGKILL);
    });
    EXPECT_EQ(LockInAnotherProcess(path), "");
}

TEST(RunLock, IsHeldByAChildThatOutlivesItsParent) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    ASSERT_EQ(mkfifo((directory / "hold").c_str(), 0600), 0);
    RunInChild([&] {
        const RunLock lock(path, 0);
        lock.ShareWithPrograms();
        // The shell outlives this process, as long as nobody opens the other end.
        (void)system(("cat " + directory / "hold" + " >/dev/null &").c_str());
        raise(SIGKILL);
    });
    EXPECT_THAT(LockInAnotherProcess(path), HasSubstr("is working"));
    WriteFile(directory / "hold", "");
    EXPECT_NO_THROW(RunLock(path, 60));
}

TEST(RunLock, DoesNotFollowALink) {
    const TemporaryDirectory directory;
    WriteFile(directory / "precious", "contents");
    std::filesystem::create_symlink("precious", directory / "lock");
    EXPECT_THROW(RunLock(directory / "lock", 0), std::runtime_error);
    EXPECT_EQ(ReadFile(directory / "precious"), "contents");
}

TEST(RunLock, StopsWaitingWhenInterrupted) {
    const TemporaryDirectory directory;
    const RunLock lock(directory / "lock", 0);
    const ProcessResult result = RunInChild([&] {
        const InterruptScope scope;
        raise(SIGTERM);
        try {
            const RunLock second(directory / "lock", 1000000);
        } catch (const Interrupted& interrupted) {
            printf("%d", interrupted.Signal());
        }
    });
    EXPECT_EQ(result.out, std::to_string(SIGTERM));
}
