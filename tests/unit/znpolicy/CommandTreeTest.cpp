#include <gmock/gmock.h>

#include "CommandLineTest.h"
#include "CommandTree.h"

namespace {

using testing::ElementsAre;

class CommandTree : public CommandLineTest {
   protected:
    CommandTree() {
        command_.add_option("FILE", text_, "A file");
        command_.add_option("-n,--number", text_)->type_name("N");
        command_.add_flag("--all", flag_);
        command_.add_option("--when", text_)->check(CLI::IsMember({"now", "later"}));
        CLI::Option_group* group = command_.add_option_group("group");
        group->add_option("ITEM,--item", text_);
        group->require_option(1);
        command_.add_subcommand("shown");
        command_.add_subcommand("hidden")->group("");
    }

    CLI::App command_{"", "program"};
    std::string text_;
    bool flag_ = false;
};

TEST_F(CommandTree, ListsVisibleCommands) {
    ASSERT_EQ(CommandsOf(command_).size(), 1U);
    EXPECT_EQ(CommandsOf(command_)[0]->get_name(), "shown");
    EXPECT_NE(FindCommand(command_, "shown"), nullptr);
    EXPECT_EQ(FindCommand(command_, "hidden"), nullptr);
}

TEST_F(CommandTree, LabelsOptionsAndThoseOfGroups) {
    const std::vector<const CLI::Option*> options = OptionsOf(command_);
    std::vector<std::string> labels;
    labels.reserve(options.size());
    for (const CLI::Option* option : options) {
        labels.push_back(LabelOf(*option));
    }
    EXPECT_THAT(labels, ElementsAre("-h, --help", "-n, --number N", "--all", "--when now|later",
                                    "--item ITEM"));
}

TEST_F(CommandTree, NamesArgumentsAndThoseOfGroups) {
    const std::vector<const CLI::Option*> arguments = ArgumentsOf(command_);
    std::vector<std::string> names;
    names.reserve(arguments.size());
    for (const CLI::Option* argument : arguments) {
        names.push_back(ArgumentName(*argument));
    }
    EXPECT_THAT(names, ElementsAre("FILE", "ITEM"));
    EXPECT_EQ(RequiredGroupsOf(command_).size(), 1U);
}

TEST_F(CommandTree, ListsChoices) {
    EXPECT_THAT(ChoicesOf(*command_.get_option("--when")), ElementsAre("now", "later"));
    EXPECT_THAT(ChoicesOf(*command_.get_option("--number")), ElementsAre());
}

TEST_F(CommandTree, PathsStartBelowTheRoot) {
    const CLI::App* policy = FindCommand(app_, "policy");
    ASSERT_NE(policy, nullptr);
    const CLI::App* list = FindCommand(*policy, "list");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(CommandPath(app_), "");
    EXPECT_EQ(CommandPath(*list), "policy list");
    EXPECT_EQ(&RootOf(*list), &app_);
}

}  // namespace
