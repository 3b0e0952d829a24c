// Errors, colours and widths as users see them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Program.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kRed = "\x1b[31m";
const std::string kYellow = "\x1b[33m";

class CommandLine : public CommandTest {
   protected:
    // Runs a shell command on a terminal of its own and returns what appears there.
    static std::string OnTerminal(const std::string& command) {
        return RunProgram({"script", "-qec", "stty cols 50; unset COLUMNS; TERM=xterm; " + command,
                           "/dev/null"})
            .out;
    }

    static bool HasTerminals() {
        return RunProgram({"/bin/sh", "-c", "script -qec true /dev/null"}).Succeeded();
    }

    static Json LastLine(const std::string& text) {
        const size_t end = text.find_last_not_of('\n');
        const size_t begin = text.rfind('\n', end) + 1;
        return Json::parse(text.substr(begin, end + 1 - begin), nullptr, false);
    }
};

TEST_F(CommandLine, SuggestsNearestCommandAndOption) {
    const ProcessResult command = RunZnpolicy({"polciy", "list"});
    EXPECT_EQ(command.exitCode, kWrongUsage);
    EXPECT_EQ(command.err,
              "znpolicy: unknown command \"polciy\"; did you mean \"policy\"?\n"
              "Run \"znpolicy --help\" for more information.\n");
    const ProcessResult option = RunZnpolicy({"policy", "list", "--jsno"});
    EXPECT_EQ(option.exitCode, kWrongUsage);
    EXPECT_THAT(option.err, HasSubstr("did you mean \"--json\"?"));
}

TEST_F(CommandLine, SuggestsNearestItem) {
    EXPECT_THAT(Failure({"policy", "items", "PolicyNme"}),
                HasSubstr("did you mean \"PolicyName\"?"));
}

TEST_F(CommandLine, SuggestionsAreInJsonErrors) {
    Publish("5", "<Policy><PolicyName>p</PolicyName></Policy>");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"policy", "items", "PolicyNme", "--json"},
             {"policy", "show", "5", "PolicyNme", "--json"},
             {"policy", "show", "5", "5", "--item", "PolicyNme", "--json"}}) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, kFailed);
        EXPECT_EQ(LastLine(result.err).at("error").at("suggestion"), "PolicyName") << result;
    }
}

TEST_F(CommandLine, HelpOfUnknownCommandIsWrongUsage) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"polciy", "--help"}, {"policy", "explain", "--help"}, {"polciy", "--version"}}) {
        const ProcessResult result = RunZnpolicy(arguments);
        EXPECT_EQ(result.exitCode, kWrongUsage) << result;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("znpolicy: unknown command"));
    }
}

TEST_F(CommandLine, ErrorsAreJsonOnRequest) {
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string code;
        std::string message;
    } cases[] = {
        {{"polciy", "--json"}, kWrongUsage, "usage", "unknown command \"polciy\""},
        {{"policy", "show", "x", "--json"}, kWrongUsage, "usage", "is not an id"},
        {{"policy", "list", "--json"}, kFailed, "failed", "there is no policy store here"},
        {{"session", "5", "--json"}, kFailed, "failed", "there is no policy store here"},
        {{"policy", "items", "X", "--json"}, kFailed, "failed", "no reader uses \"X\""},
        {{"vc", "parse", "A@B", "--json"}, kFailed, "failed", "fields"},
        {{"update", "convert", "/nowhere", "--json"}, kFailed, "failed", "/nowhere"},
        {{"package", "scan", "/nowhere", "--json"}, kFailed, "failed", "no such directory"},
        {{"package", "history", "--root", "/nowhere", "--json"}, kFailed, "failed", "/nowhere"},
    };
    for (const auto& c : cases) {
        const ProcessResult result = Run(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << result;
        EXPECT_EQ(result.out, "");
        const Json error = Json::parse(result.err, nullptr, false);
        ASSERT_TRUE(error.contains("error")) << result;
        EXPECT_EQ(error["error"]["code"], c.code);
        EXPECT_THAT(error["error"]["message"].get<std::string>(), HasSubstr(c.message));
    }
}

TEST_F(CommandLine, JsonErrorFollowsAnswerAndLog) {
    WriteFile(directory_ / "policy.xml", "<Policy><A>1</Policy>");
    const ProcessResult result =
        Run({"--log-level", "debug", "policy", "check", "--json", directory_ / "policy.xml"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(Json::parse(result.out).at("errors"), 1);
    EXPECT_EQ(LastLine(result.err).at("error").at("code"), "failed");
}

TEST_F(CommandLine, PipesHaveColorsOnlyIfAlways) {
    const std::vector<std::string> check = {"policy", "check", "-"};
    const ProcessOptions input = Input("<Policy><PolicyNme>p</PolicyNme></Policy>");
    EXPECT_THAT(Run(check, input).out, Not(HasSubstr("\x1b")));
    for (const std::string mode : {"--color=auto", "--color=never"}) {
        EXPECT_THAT(Run({mode, "policy", "check", "-"}, input).out, Not(HasSubstr("\x1b")));
    }
    EXPECT_THAT(Run({"--color=always", "policy", "check", "-"}, input).out,
                HasSubstr(kYellow + "warning:"));
    EXPECT_THAT(Run({"--color=always", "policy", "check", "-"}, Input("<Policy>")).out,
                HasSubstr(kRed + "error:"));
    EXPECT_THAT(Run({"--color=always", "policy", "list"}).err, StartsWith(kRed + "znpolicy:"));
    EXPECT_THAT(Run({"--color=always", "polciy"}).err, StartsWith(kRed + "znpolicy:"));
    EXPECT_THAT(Run({"polciy"}).err, Not(HasSubstr("\x1b")));
}

TEST_F(CommandLine, TerminalsHaveColorsUnlessUnwanted) {
    if (!HasTerminals()) {
        GTEST_SKIP() << "script(1), which makes terminals, is missing";
    }
    const std::string program = ZNPOLICY;
    EXPECT_THAT(OnTerminal(program + " polciy"), HasSubstr(kRed));
    EXPECT_THAT(OnTerminal("NO_COLOR= " + program + " polciy"), HasSubstr(kRed));
    for (const std::string& command :
         {"NO_COLOR=1 " + program + " polciy", "TERM=dumb " + program + " polciy",
          program + " --color never polciy", program + " polciy 2>&1 | cat"}) {
        EXPECT_THAT(OnTerminal(command),
                    AllOf(HasSubstr("unknown command"), Not(HasSubstr("\x1b"))))
            << command;
    }
    EXPECT_THAT(OnTerminal("NO_COLOR=1 " + program + " --color always polciy"), HasSubstr(kRed));
}

size_t LongestLine(const std::string& text) {
    size_t longest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        longest = std::max(longest, line.find_last_not_of('\r') + 1);
    }
    return longest;
}

TEST_F(CommandLine, HelpFitsTerminalOrColumns) {
    EXPECT_GT(LongestLine(RunZnpolicy({"--help"}, Variables({{"COLUMNS", {}}})).out), 60U);
    EXPECT_LE(LongestLine(RunZnpolicy({"--help"}, Variables({{"COLUMNS", {}}})).out), 80U);
    EXPECT_LE(LongestLine(RunZnpolicy({"--help"}, Variables({{"COLUMNS", "60"}})).out), 60U);
    if (HasTerminals()) {
        EXPECT_LE(LongestLine(OnTerminal(std::string(ZNPOLICY) + " --help")), 50U);
    }
}

TEST_F(CommandLine, TablesAreBrokenOnlyOnTerminals) {
    Publish("5",
            "<Policy><A>a rather long text with more than fifty characters in it</A></Policy>");
    const ProcessOptions narrow = Variables({{"COLUMNS", "20"}});
    EXPECT_EQ(Output({"policy", "show", "5"}, narrow),
              "ITEM  VALUE\n"
              "A     a rather long text with more than fifty characters in it\n");
    if (!HasTerminals()) {
        GTEST_SKIP() << "script(1), which makes terminals, is missing";
    }
    EXPECT_EQ(OnTerminal(std::string(ZNPOLICY) + " --store " + store_ + " policy show 5"),
              "ITEM  VALUE\r\n"
              "A     a rather long text with more than fifty\r\n"
              "      characters in it\r\n");
}

TEST_F(CommandLine, ReaderThatWentAwayIsNoError) {
    if (!RunProgram({"bash", "-c", "true"}).Succeeded()) {
        GTEST_SKIP() << "bash, which gives the status of a program in a pipe, is missing";
    }
    // "read" waits until the reader has closed the pipe.
    const ProcessResult result =
        RunProgram({"bash", "-c",
                    "mkfifo gone && { read -r <gone; " + std::string(ZNPOLICY) +
                        " policy items; } | { exec <&-; echo >gone; }; echo ${PIPESTATUS[0]}"},
                   InDirectory(directory_.Path()));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "141\n");  // SIGPIPE ended it
}

}  // namespace
