#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Environment.h"
#include "RaisedProbe.h"
#include "TemporaryDirectory.h"

namespace {

constexpr const char* kName = "ZN_TEST_OVERRIDE";

int CountOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(EnvironmentTest, ReturnsValueOfVariable) {
    setenv(kName, "value", 1);
    EXPECT_STREQ(GetOverride(kName), "value");
    unsetenv(kName);
}

TEST(EnvironmentTest, UnsetOrEmptyVariableIsNoOverride) {
    unsetenv(kName);
    EXPECT_EQ(GetOverride(kName), nullptr);
    setenv(kName, "", 1);
    EXPECT_EQ(GetOverride(kName), nullptr);
    unsetenv(kName);
}

TEST(EnvironmentTest, OrdinaryProgramHasNoRaisedPrivileges) {
    EXPECT_FALSE(HasRaisedPrivileges());
}

TEST(EnvironmentTest, RaisedPrivilegesIgnoreOverridesAndNoteEachOnce) {
    const TemporaryDirectory directory;
    const auto result = RunRaisedProbe(directory, [] {
        setenv("ZN_PROCESS_DIRECTORY", "/chosen", 1);
        setenv("ZN_LOG_LEVEL", "off", 1);
        unsetenv("ZN_LOG_FILE");
        unsetenv("ZN_POLICY_STORE");
    });
    if (!result) {
        GTEST_SKIP() << kNoRaisedPrivileges;
    }
    const std::string note = " is ignored in a process with raised privileges\n";
    EXPECT_EQ(CountOf(result->out, "/chosen"), 0);
    EXPECT_EQ(CountOf(result->err, "ZN_PROCESS_DIRECTORY" + note), 1) << result->err;
    EXPECT_EQ(CountOf(result->err, "ZN_LOG_LEVEL" + note), 1) << result->err;
    EXPECT_EQ(CountOf(result->err, note), 2) << result->err;
}

TEST(EnvironmentTest, RaisedPrivilegesWithoutOverridesNoteNothing) {
    const TemporaryDirectory directory;
    const auto result = RunRaisedProbe(directory, [] {
        for (const char* name :
             {"ZN_PROCESS_DIRECTORY", "ZN_LOG_LEVEL", "ZN_LOG_FILE", "ZN_POLICY_STORE"}) {
            unsetenv(name);
        }
    });
    if (!result) {
        GTEST_SKIP() << kNoRaisedPrivileges;
    }
    EXPECT_THAT(result->err, testing::Not(testing::HasSubstr("ignored")));
}
