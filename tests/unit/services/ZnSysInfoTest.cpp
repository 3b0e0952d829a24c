#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "IsolatedCheck.h"
#include "RaisedProbe.h"
#include "TemporaryDirectory.h"
#include "ZnSysInfo.h"

namespace {

namespace fs = std::filesystem;

// The process directory in the output of the environment probe.
std::string DirectoryIn(const ProcessResult& probe) {
    EXPECT_TRUE(probe.Succeeded()) << probe;
    const size_t second = probe.out.find('\n') + 1;
    return probe.out.substr(second, probe.out.find('\n', second) - second);
}

std::string DirectorySeenBy(const std::string& program) {
    return DirectoryIn(RunProgram({program}));
}

// The process directory in this program, with ZN_PROCESS_DIRECTORY set to `value`.
std::string DirectoryWithOverride(const std::string& value) {
    setenv("ZN_PROCESS_DIRECTORY", value.c_str(), 1);
    std::string directory = ZnSysInfo::GetCurrentProcessDirectory();
    unsetenv("ZN_PROCESS_DIRECTORY");
    return directory;
}

class ZnSysInfoTest : public testing::Test {
   protected:
    ZnSysInfoTest() {
        unsetenv("ZN_PROCESS_DIRECTORY");
    }
};

}  // namespace

TEST_F(ZnSysInfoTest, ReturnsDirectoryOfRunningExecutable) {
    const TemporaryDirectory directory;
    const std::string real = fs::canonical(directory.Path());
    fs::create_directory(directory / "with blank");
    fs::copy(ENVIRONMENT_PROBE, directory / "with blank/probe");

    EXPECT_EQ(DirectorySeenBy(directory / "with blank/probe"), real + "/with blank");
}

TEST_F(ZnSysInfoTest, ResolvesLinkToExecutable) {
    const TemporaryDirectory directory;
    fs::create_symlink(ENVIRONMENT_PROBE, directory / "link");

    EXPECT_EQ(DirectorySeenBy(directory / "link"),
              fs::canonical(ENVIRONMENT_PROBE).parent_path().string());
}

TEST_F(ZnSysInfoTest, WorkingDirectoryDoesNotMatter) {
    const std::string before = ZnSysInfo::GetCurrentProcessDirectory();
    const fs::path working = fs::current_path();
    fs::current_path("/");
    const std::string after = ZnSysInfo::GetCurrentProcessDirectory();
    fs::current_path(working);

    EXPECT_EQ(after, before);
    EXPECT_EQ(before.front(), '/');
    EXPECT_NE(before.back(), '/');
}

#ifdef __linux__  // macOS cannot run an open file

TEST_F(ZnSysInfoTest, DeletedExecutableStillHasDirectory) {
    const TemporaryDirectory directory;
    const ProcessResult result = InChild([&] {
        fs::copy(ENVIRONMENT_PROBE, directory / "probe");
        const int program = open((directory / "probe").c_str(), O_RDONLY);
        fs::remove(directory / "probe");
        char name[] = "probe";
        char* arguments[] = {name, nullptr};
        fexecve(program, arguments, environ);
        return false;
    });

    EXPECT_EQ(DirectoryIn(result), fs::canonical(directory.Path()).string());
}

#endif

TEST_F(ZnSysInfoTest, DirectoryIsKnownWithoutProcAndAfterChangeOfWorkingDirectory) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer itself needs /proc";
#endif
    for (const char* const start : {"absolute", "relative", "link"}) {
        const TemporaryDirectory directory;
        fs::copy(ENVIRONMENT_PROBE, directory / "relative");
        fs::create_symlink("relative", directory / "link");
        const std::string program =
            start == std::string("absolute") ? directory / "relative" : std::string("./") + start;
        const ProcessResult result = InChild([&] {
            fs::current_path(directory.Path());
            MountPrivately("tmpfs", "/proc", "");
            execl(program.c_str(), "other name", "/", nullptr);
            return false;
        });
        if (result.exitCode == kNotPossibleHere) {
            GTEST_SKIP() << result.err;
        }
        EXPECT_EQ(DirectoryIn(result), fs::canonical(directory.Path()).string()) << start;
    }
}

TEST_F(ZnSysInfoTest, EnvironmentOverridesDirectory) {
    struct {
        const char* value;
        const char* directory;
    } const cases[] = {
        {"/opt/product/bin", "/opt/product/bin"},
        {"/opt/product/bin/", "/opt/product/bin"},
        {"/opt/product/bin///", "/opt/product/bin"},
        {"/does not exist/\xC3\xA9", "/does not exist/\xC3\xA9"},
        {"/", ""},
        {"//", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DirectoryWithOverride(c.value), c.directory) << c.value;
    }
}

TEST_F(ZnSysInfoTest, RelativeOverrideStartsAtWorkingDirectory) {
    EXPECT_EQ(DirectoryWithOverride("product/bin/"), fs::current_path().string() + "/product/bin");
}

TEST_F(ZnSysInfoTest, EmptyOverrideIsIgnored) {
    const std::string directory = ZnSysInfo::GetCurrentProcessDirectory();

    EXPECT_EQ(DirectoryWithOverride(""), directory);
}

TEST_F(ZnSysInfoTest, OverrideIsIgnoredWithRaisedPrivileges) {
    const TemporaryDirectory directory;
    const auto outcome =
        RunRaisedProbe(directory, [] { setenv("ZN_PROCESS_DIRECTORY", "/chosen", 1); });
    if (!outcome) {
        GTEST_SKIP() << kNoRaisedPrivileges;
    }

    EXPECT_THAT(outcome->out,
                testing::StartsWith("raised\n" + fs::canonical(directory.Path()).string() + "\n"));
}
