#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "Platform.h"
#include "Program.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class GlobalOptions : public CommandTest {};

TEST_F(GlobalOptions, AcceptedBeforeAndAfterCommand) {
    Publish("-5", "<Policy><A>1</A></Policy>");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--store", store_, "policy", "show", "-5", "A"},
             {"policy", "--store", store_, "show", "-5", "A"},
             {"policy", "show", "--store", store_, "-5", "A"},
             {"policy", "show", "-5", "A", "--store=" + store_}}) {
        const ProcessResult result = RunZnpolicy(arguments);
        EXPECT_EQ(result.exitCode, kDone) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "1\n") << testing::PrintToString(arguments);
    }
}

TEST_F(GlobalOptions, RaisedPrivilegesAreRefused) {
    Publish("2", "<Policy/>");
    const std::string program = directory_ / "znpolicy";
    std::filesystem::copy(ZNPOLICY, program);
    if (chown(program.c_str(), geteuid(), kNobody) != 0 || chmod(program.c_str(), 02755) != 0) {
        GTEST_SKIP() << "this user cannot give a program to another group";
    }
    const ProcessResult result = RunProgram({program, "--store", store_, "policy", "remove", "2"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, HasSubstr("refusing to run with raised privileges"));
    EXPECT_EQ(Output({"policy", "show", "2"}), "ITEM  VALUE\n");
}

TEST_F(GlobalOptions, ClosedStandardDescriptorsHarmNoFile) {
    WriteFile(directory_ / "policy.xml", "<Policy><A>1</A></Policy>");
    const std::string publish = std::string(ZNPOLICY) + " --log-level debug --store " + store_ +
                                " policy publish 5 " + directory_ / "policy.xml";
    for (const std::string closed : {"<&- >&- 2>&-", "2>&-", "<&- 2>&-", ">&-"}) {
        std::filesystem::remove_all(store_);
        RunProgram({"/bin/sh", "-c", publish + " " + closed});
        EXPECT_EQ(Output({"policy", "show", "5", "A"}), "1\n") << closed;
    }
}

TEST_F(GlobalOptions, ClosedOutputIsReported) {
    Publish("5", "<Policy><A>1</A></Policy>");
    const ProcessResult result = RunProgram(
        {"/bin/sh", "-c", std::string(ZNPOLICY) + " --store " + store_ + " policy show 5 >&-"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, MatchesRegex("znpolicy: [^\n]+\n"));
}

TEST_F(GlobalOptions, StoreOptionOverridesEnvironment) {
    Publish("5", "<Policy/>");
    const ProcessResult fromEnvironment =
        RunZnpolicy({"policy", "show", "5"}, Variables({{"ZN_POLICY_STORE", store_}}));
    EXPECT_EQ(fromEnvironment.out, "ITEM  VALUE\n");
    const ProcessResult fromOption =
        Run({"policy", "show", "5"}, Variables({{"ZN_POLICY_STORE", "/nowhere"}}));
    EXPECT_EQ(fromOption.out, "ITEM  VALUE\n");
}

TEST_F(GlobalOptions, VersionAndHelpSucceed) {
    const ProcessResult version = RunZnpolicy({"--version"});
    EXPECT_EQ(version.exitCode, kDone);
    EXPECT_THAT(version.out, MatchesRegex("znpolicy [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"},
                                               {"policy", "--help"},
                                               {"policy", "publish", "--help"},
                                               {"session", "-h"}}) {
        const ProcessResult help = RunZnpolicy(arguments);
        EXPECT_EQ(help.exitCode, kDone) << testing::PrintToString(arguments);
        EXPECT_THAT(help.out, HasSubstr("Usage: znpolicy")) << testing::PrintToString(arguments);
    }
}

TEST_F(GlobalOptions, WrongUsageExitsWith2) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"bogus"},
                                               {"policy"},
                                               {"policy", "bogus"},
                                               {"policy", "show"},
                                               {"policy", "show", "one"},
                                               {"policy", "show", "5x"},
                                               {"policy", "show", ""},
                                               {"policy", "show", "0x10"},
                                               {"policy", "show", "010"},
                                               {"policy", "show", "1.5"},
                                               {"policy", "show", "2147483648"},
                                               {"policy", "show", "-2147483649"},
                                               {"policy", "show", "5", "A", "B"},
                                               {"policy", "publish", "5"},
                                               {"policy", "remove"},
                                               {"policy", "list", "--bogus"},
                                               {"policy", "list", "--store"},
                                               {"policy", "list", "--log-level", "loud"},
                                               {"session"},
                                               {"session", "5", "x"}}) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, kWrongUsage) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "") << testing::PrintToString(arguments);
        EXPECT_NE(result.err, "") << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(GlobalOptions, RejectsEmptyNames) {
    for (const std::string option : {"--store", "--process-dir", "--log-file"}) {
        const ProcessResult result = RunZnpolicy({option, "", "policy", "list"});
        EXPECT_EQ(result.exitCode, kWrongUsage) << option;
        EXPECT_THAT(result.err, HasSubstr(option));
    }
}

TEST_F(GlobalOptions, ReportsWriteError) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    Publish("5", "<Policy><PolicyName>p</PolicyName></Policy>");
    ProcessOptions options;
    options.outputFile = "/dev/full";
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "list"},
                                               {"policy", "show", "5"},
                                               {"policy", "show", "5", "PolicyName"},
                                               {"policy", "show", "5", "--json"},
                                               {"session", "5"},
                                               {"session", "5", "--json"},
                                               {"--help"},
                                               {"--version"}}) {
        const ProcessResult result = Run(arguments, options);
        EXPECT_EQ(result.exitCode, kFailed) << testing::PrintToString(arguments);
        EXPECT_THAT(result.err, HasSubstr("cannot write to standard output"));
    }
}

TEST_F(GlobalOptions, EscapesMessages) {
    const struct {
        std::string text;
        std::string shown;
    } cases[] = {
        {"a\nb\x1B[0m", "a\\nb\\x1b[0m"},  // could start another line, or an escape sequence
        {"a" + RightToLeftOverride() + "b", "a\\u202eb"},
        {"a" + LineSeparator() + "b", "a\\u2028b"},
        {"a\xFF"
         "b\\",
         "a\\xffb\\"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Failure({"policy", "publish", "5", directory_ / c.text}),
                  "znpolicy: " + directory_ / c.shown + ": No such file or directory\n");
        const ProcessResult wrongUsage = Run({"policy", "show", c.text});
        EXPECT_EQ(wrongUsage.exitCode, kWrongUsage);
        EXPECT_THAT(wrongUsage.err, HasSubstr("\"" + c.shown + "\" is not an id"));
    }
}

TEST_F(GlobalOptions, LogsOnlyOnRequest) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(Run({"session", "5"}).err, "");
    EXPECT_EQ(Run({"session", "5"}, Variables({{"ZN_LOG_LEVEL", ""}, {"ZN_LOG_FILE", ""}})).err,
              "");
    EXPECT_THAT(Run({"session", "5", "--log-level", "info"}).err, HasSubstr("PolicyName Failed"));
    EXPECT_THAT(Run({"session", "5"}, Variables({{"ZN_LOG_LEVEL", "info"}})).err,
                HasSubstr("PolicyName Failed"));
    EXPECT_EQ(
        Run({"session", "5", "--log-level", "off"}, Variables({{"ZN_LOG_LEVEL", "info"}})).err, "");
    EXPECT_THAT(Run({"session", "5", "--log-level", "error"}).err,
                Not(HasSubstr("PolicyName Failed")));
}

TEST_F(GlobalOptions, LogsToFile) {
    Publish("5", "<Policy/>");
    const std::string log = directory_ / "log";
    EXPECT_EQ(Run({"session", "5", "--log-file", log}).err, "");
    EXPECT_THAT(ReadFile(log), HasSubstr("PolicyName Failed"));
    std::filesystem::remove(log);
    EXPECT_EQ(Run({"session", "5"}, Variables({{"ZN_LOG_FILE", log}})).err, "");
    EXPECT_THAT(ReadFile(log), HasSubstr("PolicyName Failed"));
}

}  // namespace
