#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <stdexcept>

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

TEST_F(ManPages, HaveExamples) {
    EXPECT_THAT(ManPage(app_, "znpolicy-vc"),
                HasSubstr("\nznpolicy vc parse \\(aqScanner@ScannerServer"));
}

}  // namespace
