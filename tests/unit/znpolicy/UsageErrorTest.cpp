#include "CommandLineTest.h"
#include "UsageError.h"

namespace {

class UsageErrors : public CommandLineTest {
   protected:
    UsageError Describe(const std::string& commandLine) {
        try {
            app_.parse(commandLine);
        } catch (const CLI::ParseError& error) {
            return DescribeUsageError(app_, error);
        }
        ADD_FAILURE() << commandLine << " was accepted";
        return {};
    }
};

TEST_F(UsageErrors, NamesUnknownWordAndNearestName) {
    const struct {
        std::string commandLine;
        std::string message;
        std::string suggestion;
    } cases[] = {
        {"polciy list", "unknown command \"polciy\"", "policy"},
        {"policy lst", "unknown command \"lst\"", "list"},
        {"polciy --json", "unknown command \"polciy\"", "policy"},
        {"xyzzy", "unknown command \"xyzzy\"", ""},
        {"policy list --jsno", "unknown option \"--jsno\"", "--json"},
        {"policy list --stroe=x", "unknown option \"--stroe\"", "--store"},
        {"package install --sdie client", "unknown option \"--sdie\"", "--side"},
        {"package plan --upadte x", "unknown option \"--upadte\"", "--update"},
        {"update show 5 6", "unexpected argument \"6\"", ""},
    };
    for (const auto& c : cases) {
        const UsageError problem = Describe(c.commandLine);
        EXPECT_EQ(problem.message, c.message);
        EXPECT_EQ(problem.suggestion, c.suggestion);
    }
}

TEST_F(UsageErrors, NeverSuggestsTheWordItself) {
    const struct {
        std::string commandLine;
        std::string message;
    } cases[] = {
        {"policy --json list", "option \"--json\" must follow the command \"policy list\""},
        {"--explain session 1001", "option \"--explain\" must follow the command \"session\""},
        {"--root=x package history --root y",
         "option \"--root\" must follow the command \"package history\""},
        {"policy -- list", "\"list\" after \"--\" is not a command"},
    };
    for (const auto& c : cases) {
        const UsageError problem = Describe(c.commandLine);
        EXPECT_EQ(problem.message, c.message);
        EXPECT_EQ(problem.suggestion, "");
    }
}

TEST_F(UsageErrors, NamesOptionsToChooseFrom) {
    EXPECT_EQ(Describe("policy check").message, "give either FILE or --id");
    EXPECT_EQ(Describe("policy check --id 5 x").message, "give either FILE or --id");
    EXPECT_EQ(Describe("package rollback").message, "give either PACKAGE or --root");
}

TEST_F(UsageErrors, SaysHowManyValuesAnOptionTakes) {
    EXPECT_EQ(Describe("--store a --store b policy list").message,
              "--store is given more than once");
    EXPECT_EQ(Describe("policy list --store").message, "--store needs a value");
    EXPECT_EQ(Describe("policy list --store a --store").message, "--store needs a value");
    EXPECT_EQ(Describe("policy list --json=false").message, "--json takes no value");
}

TEST_F(UsageErrors, SuggestsNearestValue) {
    const struct {
        std::string commandLine;
        std::string message;
        std::string suggestion;
    } cases[] = {
        {"--color=alwys policy list", "--color: \"alwys\" is not one of auto, always, never",
         "always"},
        {"completion bsh", "SHELL: \"bsh\" is not one of bash, zsh, fish", "bash"},
    };
    for (const auto& c : cases) {
        const UsageError problem = Describe(c.commandLine);
        EXPECT_EQ(problem.message, c.message);
        EXPECT_EQ(problem.suggestion, c.suggestion);
    }
}

TEST_F(UsageErrors, FindsUnknownWordsInRequestsForHelp) {
    const UsageError problem = Describe("polciy --help");
    EXPECT_EQ(problem.message, "unknown command \"polciy\"");
    EXPECT_EQ(problem.suggestion, "policy");
}

TEST_F(UsageErrors, ListsCommandsWhereOneIsMissing) {
    EXPECT_EQ(Describe("vc").message, "a command is missing; there are: parse");
    EXPECT_EQ(Describe("").message.find("a command is missing; there are: policy, session"), 0U);
}

TEST_F(UsageErrors, KeepsOtherMessages) {
    const UsageError problem = Describe("session x");
    EXPECT_NE(
        problem.message.find(
            "\"x\" is not an id: a decimal 32-bit integer without leading zeros or plus sign"),
        std::string::npos);
    EXPECT_EQ(problem.suggestion, "");
}

TEST_F(UsageErrors, NamesHelpOfTheCommand) {
    EXPECT_EQ(Describe("polciy").help, "znpolicy --help");
    EXPECT_EQ(Describe("policy list --jsno").help, "znpolicy policy list --help");
}

}  // namespace
