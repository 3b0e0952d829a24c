#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "RaisedProbe.h"
#include "TemporaryDirectory.h"
#include "ZnSysInfo.h"

namespace {

namespace fs = std::filesystem;

// The process directory as the environment probe at `program` sees it.
std::string DirectorySeenBy(const std::string& program) {
    const ProcessResult outcome = RunInChild([&] { execl(program.c_str(), "probe", nullptr); });
    EXPECT_TRUE(outcome.Succeeded()) << outcome.err;
    const size_t second = outcome.out.find('\n') + 1;
    return outcome.out.substr(second, outcome.out.find('\n', second) - second);
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

TEST_F(ZnSysInfoTest, DirectoryIsThatOfTheRunningExecutable) {
    const TemporaryDirectory directory;
    const std::string real = fs::canonical(directory.Path());
    fs::create_directory(directory / "with blank");
    fs::copy(ENVIRONMENT_PROBE, directory / "with blank/probe");

    EXPECT_EQ(DirectorySeenBy(directory / "with blank/probe"), real + "/with blank");
}

TEST_F(ZnSysInfoTest, LinkToTheExecutableIsResolved) {
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

TEST_F(ZnSysInfoTest, EnvironmentOverridesTheDirectory) {
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

TEST_F(ZnSysInfoTest, RelativeOverrideStartsAtTheWorkingDirectory) {
    EXPECT_EQ(DirectoryWithOverride("product/bin/"), fs::current_path().string() + "/product/bin");
}

TEST_F(ZnSysInfoTest, EmptyOverrideIsNone) {
    const std::string directory = ZnSysInfo::GetCurrentProcessDirectory();

    EXPECT_EQ(DirectoryWithOverride(""), directory);
}

TEST_F(ZnSysInfoTest, OverrideIsIgnoredWithRaisedPrivileges) {
    const TemporaryDirectory directory;
    const auto outcome =
        RunRaisedProbe(directory, [] { setenv("ZN_PROCESS_DIRECTORY", "/chosen", 1); });
    if (!outcome) {
        GTEST_SKIP() << "this system gives a test's program no privileges";
    }

    EXPECT_THAT(outcome->out,
                testing::StartsWith("raised\n" + fs::canonical(directory.Path()).string() + "\n"));
}
