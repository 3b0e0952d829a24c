#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ChildProcess.h"
#include "InstallerProcess.h"
#include "Interrupt.h"
#include "TemporaryDirectory.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class InstallerProcessTest : public testing::Test {
   protected:
    // Runs `install` as the library would be run.
    InstallerResult Run(const std::function<bool()>& install) {
        return RunInstaller(install, lock_);
    }

    TemporaryDirectory directory_;
    RunLock lock_{directory_ / "lock", 0};
};

}  // namespace

TEST_F(InstallerProcessTest, ReportsTheResult) {
    EXPECT_TRUE(Run([] { return true; }).succeeded);
    EXPECT_FALSE(Run([] { return false; }).succeeded);
}

TEST_F(InstallerProcessTest, ReportsTheFirstLoggedError) {
    const InstallerResult result = Run([] {
        fputs("2024-05-01T12:34:56.789+02:00 info 1/1 A.cpp:1 F Begin\n", stderr);
        fputs("2024-05-01T12:34:56.789+02:00 error 1/1 A.cpp:2 F Failed:copy a b\n", stderr);
        fputs("2024-05-01T12:34:56.789+02:00 error 1/1 A.cpp:3 G InstallFile Failed\n", stderr);
        return false;
    });
    EXPECT_EQ(result.reason, "Failed:copy a b");
}

TEST_F(InstallerProcessTest, FindsTheFirstErrorInALogFile) {
    const std::string log = directory_ / "log";
    WriteFile(log, "2024-05-01T12:34:56.789+02:00 error 1/1 A.cpp:2 F before\n");
    setenv("ZN_LOG_FILE", log.c_str(), 1);
    const InstallerResult result = Run([&] {
        std::ofstream(log, std::ios::app)
            << "2024-05-01T12:34:56.789+02:00 error 1/1 A.cpp:2 F Failed:copy a b\n";
        return false;
    });
    unsetenv("ZN_LOG_FILE");
    EXPECT_EQ(result.reason, "Failed:copy a b");
}

TEST_F(InstallerProcessTest, ReportsASignal) {
    const InstallerResult result = Run([]() -> bool {
        raise(SIGKILL);
        return true;
    });
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.reason, "the installer was ended by signal 9");
}

TEST_F(InstallerProcessTest, GivesProgramsNoInputAndHidesTheirOutput) {
    const ProcessResult shown = RunInChild(
        [&] {
            const InstallerResult result =
                Run([] { return system("echo output; ! read -r line") == 0; });
            fputs(result.succeeded ? "no input" : "input", stderr);
        },
        {"somebody's input\n", {}, "", ""});
    EXPECT_EQ(shown.out, "");
    EXPECT_EQ(shown.err, "no input");
}

TEST_F(InstallerProcessTest, ControlsSearchPathAndUnzipOptions) {
    const ProcessResult shown =
        RunInChild([&] { Run([] { return system("echo \"$PATH|$UNZIP|$UNZIPOPT\" >&2") == 0; }); },
                   {"",
                    {{"PATH", "/nonexistent:/bin:/usr/bin"}, {"UNZIP", "-x"}, {"UNZIPOPT", "-y"}},
                    "",
                    ""});
    EXPECT_THAT(shown.err, HasSubstr("bin||\n"));
    EXPECT_THAT(shown.err, Not(HasSubstr("nonexistent")));
}

TEST_F(InstallerProcessTest, AnInterruptEndsAllItsPrograms) {
    ASSERT_EQ(mkfifo((directory_ / "started").c_str(), 0600), 0);
    const std::string started = directory_ / "started";
    const pid_t parent = getpid();
    const InterruptScope scope;
    const InstallerResult result = Run([&] {
        kill(parent, SIGTERM);
        return system("sleep 1000") == 0;
    });
    EXPECT_EQ(PendingInterrupt(), SIGTERM);
    EXPECT_FALSE(result.succeeded);
}

TEST_F(InstallerProcessTest, AKilledInstallerTakesItsProgramsAlong) {
    const std::string started = directory_ / "started";
    const std::string hold = directory_ / "hold";
    ASSERT_EQ(mkfifo(started.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(hold.c_str(), 0600), 0);
    EXPECT_FALSE(Run([&]() -> bool {
                     (void)system(
                         ("(echo >" + started + "; read -r line <" + hold + ") &").c_str());
                     ReadFile(started);
                     raise(SIGKILL);
                     return true;
                 }).succeeded);
    // Nobody reads any more.
    EXPECT_LT(open(hold.c_str(), O_WRONLY | O_NONBLOCK), 0);
    EXPECT_EQ(errno, ENXIO);
}
