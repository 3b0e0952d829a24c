#include <gmock/gmock.h>

#include <sstream>

#include "CommandLineTest.h"
#include "Help.h"
#include "Width.h"

namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

class Help : public CommandLineTest {};

TEST_F(Help, EveryCommandHasDescriptionsAndOneOrTwoExamples) {
    ForEachCommand([](const CLI::App& command) {
        const std::string path = CommandPath(command);
        EXPECT_NE(command.get_description(), "") << path;
        const std::vector<HelpEntry>& examples = ExamplesOf(path);
        EXPECT_GE(examples.size(), 1U) << path;
        EXPECT_LE(examples.size(), 2U) << path;
        for (const auto& entries : {DescribeArguments(command), DescribeOptions(command)}) {
            for (const HelpEntry& entry : entries) {
                EXPECT_NE(entry.text, "") << path << ' ' << entry.label;
            }
        }
    });
}

TEST_F(Help, ExamplesUseTheCommand) {
    ForEachCommand([](const CLI::App& command) {
        const std::string path = CommandPath(command);
        for (const HelpEntry& example : ExamplesOf(path)) {
            EXPECT_THAT(example.label, StartsWith("znpolicy "));
            EXPECT_THAT(example.label, HasSubstr(path));
        }
    });
}

TEST_F(Help, EveryCommandShowsExamplesEnvironmentAndExitStatus) {
    ForEachCommand([](const CLI::App& command) {
        const std::string help = HelpOf(command, 200);
        EXPECT_THAT(help, HasSubstr("\nUsage: " + UsageOf(command)));
        EXPECT_THAT(help, HasSubstr("\nExamples:\n"));
        for (const auto& entries : {EnvironmentVariables(), ExitStatuses(CommandPath(command)),
                                    DescribeGlobalOptions(RootOf(command)),
                                    DescribeOptions(command), DescribeArguments(command)}) {
            for (const HelpEntry& entry : entries) {
                EXPECT_THAT(help, HasSubstr("\n  " + entry.label)) << CommandPath(command);
                EXPECT_THAT(help, HasSubstr(entry.text)) << CommandPath(command);
            }
        }
    });
}

TEST_F(Help, FitsTheTerminalBetweenWords) {
    ForEachCommand([](const CLI::App& command) {
        for (const size_t width : {size_t{60}, size_t{80}}) {
            std::istringstream help(HelpOf(command, width));
            for (std::string line; std::getline(help, line);) {
                EXPECT_LE(TextWidth(line), width) << line;
            }
        }
    });
}

TEST_F(Help, EveryLineOfACommentHasItsMark) {
    const std::string help = HelpOf(app_, 30);
    const size_t begin = help.find("\nExamples:\n");
    std::istringstream examples(help.substr(begin, help.find("\n\n", begin + 1) - begin));
    bool isContinued = false;  // the line before ended with a backslash
    for (std::string line; std::getline(examples, line);) {
        if (line.rfind("  ", 0) == 0 && !isContinued) {
            EXPECT_THAT(line, AnyOf(StartsWith("  # "), StartsWith("  znpolicy")));
        }
        isContinued = !line.empty() && line.back() == '\\';
    }
}

TEST_F(Help, WordsStayWholeInNarrowTerminals) {
    const auto words = [](const std::string& text) {
        std::istringstream stream(text);
        std::vector<std::string> list;
        for (std::string word; stream >> word;) {
            if (word != "\\" && word != "#") {
                list.push_back(word);
            }
        }
        return list;
    };
    ForEachCommand([&](const CLI::App& command) {
        EXPECT_EQ(words(HelpOf(command, 20)), words(HelpOf(command, 500)));
    });
}

TEST_F(Help, UsageShowsWhatIsRequired) {
    const auto usage = [&](const std::string& group, const std::string& name) {
        return UsageOf(*FindCommand(*FindCommand(app_, group), name));
    };
    EXPECT_EQ(UsageOf(app_), "znpolicy [OPTIONS] COMMAND");
    EXPECT_EQ(usage("policy", "publish"), "znpolicy policy publish [OPTIONS] ID FILE");
    EXPECT_EQ(usage("policy", "check"), "znpolicy policy check [OPTIONS] (FILE... | --id ID)");
    EXPECT_EQ(usage("package", "plan"),
              "znpolicy package plan --side server|client --root DIR [OPTIONS] "
              "(--update FILE | --terminal ID)");
}

}  // namespace
