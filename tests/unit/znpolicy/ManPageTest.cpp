#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "CommandLineTest.h"
#include "Help.h"
#include "ManPage.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ManPages : public CommandLineTest {
   protected:
    // The labels of the entries of a page, without roff's escapes.
    static std::set<std::string> LabelsOf(const std::string& page) {
        std::set<std::string> labels;
        std::istringstream lines(page);
        for (std::string line; std::getline(lines, line);) {
            if (line == ".TP" && std::getline(lines, line)) {
                labels.insert(Plain(line));
            }
        }
        return labels;
    }

    // The lines between a subsection's title and the next title.
    static std::string SubsectionOf(const std::string& page, const std::string& title) {
        std::string text;
        bool isInside = false;
        std::istringstream lines(page);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(".S", 0) == 0) {
                isInside = Plain(line) == ".SS \"" + title + "\"";
            } else if (isInside) {
                text += line + '\n';
            }
        }
        return text;
    }

    static std::string Plain(const std::string& roff) {
        std::string text;
        for (size_t i = 0; i < roff.size(); ++i) {
            if (roff[i] == '\\' && roff[++i] == 'f') {
                ++i;  // the name of a font
            } else {
                text += roff[i];
            }
        }
        return text;
    }

    static void Add(std::set<std::string>& labels, const std::vector<HelpEntry>& entries) {
        for (const HelpEntry& entry : entries) {
            labels.insert(entry.label);
        }
    }

    // The labels in the help texts of a command and, if `recursive`, of those below it.
    static void AddHelp(std::set<std::string>& labels, const CLI::App& command, bool recursive) {
        Add(labels, DescribeArguments(command));
        Add(labels, DescribeOptions(command));
        Add(labels, EnvironmentVariables());
        Add(labels, ExitStatuses());
        for (const CLI::App* child : CommandsOf(command)) {
            if (recursive) {
                AddHelp(labels, *child, true);
            } else {
                labels.insert(child->get_name());
            }
        }
    }
};

TEST_F(ManPages, ThereIsOnePerGroup) {
    EXPECT_THAT(ManPageNames(app_),
                ElementsAre("znpolicy", "znpolicy-policy", "znpolicy-session", "znpolicy-vc",
                            "znpolicy-update", "znpolicy-package", "znpolicy-completion"));
    EXPECT_THROW(ManPage(app_, "znpolicy-bogus"), std::runtime_error);
}

TEST_F(ManPages, HaveTheEntriesOfHelpAndNoOthers) {
    std::set<std::string> labels;
    AddHelp(labels, app_, false);
    EXPECT_EQ(LabelsOf(ManPage(app_, "znpolicy")), labels);
    for (const CLI::App* group : CommandsOf(app_)) {
        labels.clear();
        AddHelp(labels, *group, true);
        Add(labels, DescribeGlobalOptions(app_));
        EXPECT_EQ(LabelsOf(ManPage(app_, "znpolicy-" + group->get_name())), labels);
    }
}

TEST_F(ManPages, HaveTheEntriesOfEachCommandInItsSubsection) {
    for (const CLI::App* group : CommandsOf(app_)) {
        const std::string page = ManPage(app_, "znpolicy-" + group->get_name());
        std::vector<const CLI::App*> commands = CommandsOf(*group);
        commands.push_back(group);
        for (const CLI::App* command : commands) {
            std::set<std::string> labels;
            Add(labels, DescribeArguments(*command));
            Add(labels, DescribeOptions(*command));
            const std::vector<HelpEntry>& statuses = ExitStatuses(CommandPath(*command));
            if (&statuses != &ExitStatuses()) {
                Add(labels, statuses);
            }
            EXPECT_EQ(LabelsOf(SubsectionOf(page, UsageOf(*command))), labels)
                << CommandPath(*command);
        }
    }
}

TEST_F(ManPages, HaveExamples) {
    EXPECT_THAT(ManPage(app_, "znpolicy-vc"),
                HasSubstr("\nznpolicy vc parse \\(aqScanner@ScannerServer"));
}

}  // namespace
