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
