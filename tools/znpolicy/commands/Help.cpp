#include "Help.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "CommandTree.h"
#include "Width.h"

namespace {

std::string ArgumentUsage(const CLI::Option& argument, bool isRequired) {
    const std::string name =
        ArgumentName(argument) +
        (argument.get_expected_max() >= CLI::detail::expected_max_vector_size ? "..." : "");
    return isRequired ? name : "[" + name + "]";
}

std::string GroupUsage(const CLI::App& group) {
    std::string text;
    for (const CLI::Option* option : OptionsOfGroup(group)) {
        text += (text.empty() ? "(" : " | ") +
                (option->nonpositional() ? LabelOf(*option) : ArgumentUsage(*option, true));
    }
    return text + ")";
}

bool IsInGroup(const std::vector<const CLI::App*>& groups, const CLI::Option* option) {
    return std::any_of(groups.begin(), groups.end(), [&](const CLI::App* group) {
        const std::vector<const CLI::Option*> options = OptionsOfGroup(*group);
        return std::find(options.begin(), options.end(), option) != options.end();
    });
}

std::string DescriptionOf(const CLI::Option& option) {
    const std::string standard = option.get_default_str();
    return option.get_description() + (standard.empty() ? "" : " (default: " + standard + ")");
}

std::vector<HelpEntry> Describe(const std::vector<const CLI::Option*>& options,
                                std::string (*label)(const CLI::Option&)) {
    std::vector<HelpEntry> entries;
    entries.reserve(options.size());
    for (const CLI::Option* option : options) {
        entries.push_back({label(*option), DescriptionOf(*option)});
    }
    return entries;
}

// Writes sections, each with a title and indented entries.
class HelpText {
   public:
    explicit HelpText(size_t width) : width_(width) {}

    void Paragraph(const std::string& text) {
        for (const std::string& line : WrapWords(text, width_)) {
            text_ += line + '\n';
        }
    }

    void Section(const std::string& title, const std::vector<HelpEntry>& entries) {
        if (entries.empty()) {
            return;
        }
        text_ += '\n' + title + ":\n";
        const size_t column = ColumnOf(entries);
        for (const HelpEntry& entry : entries) {
            Entry(entry, column);
        }
    }

    void Examples(const std::vector<HelpEntry>& examples) {
        text_ += examples.empty() ? "" : "\nExamples:\n";
        for (const HelpEntry& example : examples) {
            Indented("  # ", example.text, "");
            Indented("  ", example.label, " \\");
        }
    }

    const std::string& Text() const {
        return text_;
    }

   private:
    // Where the descriptions of entries start.
    static size_t ColumnOf(const std::vector<HelpEntry>& entries) {
        constexpr size_t kWidest = 24;
        size_t widest = 0;
        for (const HelpEntry& entry : entries) {
            const size_t width = TextWidth(entry.label);
            widest = width <= kWidest ? std::max(widest, width) : widest;
        }
        return widest + 4;
    }

    void Entry(const HelpEntry& entry, size_t column) {
        std::string line = "  " + entry.label;
        for (const std::string& part : WrapWords(entry.text, Room(column))) {
            if (TextWidth(line) + 2 > column) {  // the label is too long, or has its description
                text_ += line + '\n';
                line.clear();
            }
            line += std::string(column - TextWidth(line), ' ') + part;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text_ += line + '\n';
    }

    // Prints lines that begin with `prefix` and, but for the last, end with `mark`.
    void Indented(const std::string& prefix, const std::string& text, const std::string& mark) {
        const std::vector<std::string> lines = WrapWords(text, Room(prefix.size() + mark.size()));
        for (const std::string& line : lines) {
            text_ += prefix + line + (&line == &lines.back() ? "" : mark) + '\n';
        }
    }

    size_t Room(size_t used) const {
        return width_ > used ? width_ - used : 1;
    }

    size_t width_;
    std::string text_;
};

}  // namespace

std::string UsageOf(const CLI::App& command) {
    const std::string path = CommandPath(command);
    std::string usage = "znpolicy" + (path.empty() ? "" : " " + path);
    const std::vector<const CLI::App*> groups = RequiredGroupsOf(command);
    for (const CLI::Option* option : OptionsOf(command)) {
        usage += option->get_required() ? " " + LabelOf(*option) : "";
    }
    usage += " [OPTIONS]";
    for (const CLI::App* group : groups) {
        usage += " " + GroupUsage(*group);
    }
    for (const CLI::Option* argument : ArgumentsOf(command)) {
        usage += IsInGroup(groups, argument)
                     ? ""
                     : " " + ArgumentUsage(*argument, argument->get_required());
    }
    return usage + (CommandsOf(command).empty() ? "" : " COMMAND");
}

std::vector<HelpEntry> DescribeCommands(const CLI::App& command) {
    const std::vector<const CLI::App*> commands = CommandsOf(command);
    std::vector<HelpEntry> entries;
    entries.reserve(commands.size());
    for (const CLI::App* child : commands) {
        entries.push_back({child->get_name(), child->get_description()});
    }
    return entries;
}

std::vector<HelpEntry> DescribeArguments(const CLI::App& command) {
    return Describe(ArgumentsOf(command), ArgumentName);
}

std::vector<HelpEntry> DescribeOptions(const CLI::App& command) {
    return Describe(OptionsOf(command), LabelOf);
}

std::vector<HelpEntry> DescribeGlobalOptions(const CLI::App& root) {
    std::vector<const CLI::Option*> options = OptionsOf(root);
    options.erase(std::remove_if(options.begin(), options.end(),
                                 [&](const CLI::Option* option) {
                                     return option == root.get_help_ptr() ||
                                            option == root.get_version_ptr();
                                 }),
                  options.end());
    return Describe(options, LabelOf);
}

std::string HelpOf(const CLI::App& command, size_t width) {
    HelpText help(width);
    help.Paragraph(command.get_description());
    help.Paragraph("");
    help.Paragraph("Usage: " + UsageOf(command));
    help.Section("Commands", DescribeCommands(command));
    help.Section("Arguments", DescribeArguments(command));
    help.Section("Options", DescribeOptions(command));
    if (command.get_parent() != nullptr) {
        help.Section("Global options", DescribeGlobalOptions(RootOf(command)));
    }
    help.Examples(ExamplesOf(CommandPath(command)));
    help.Section("Environment", EnvironmentVariables());
    help.Section("Exit status", ExitStatuses(CommandPath(command)));
    return help.Text();
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string /*name*/,
                                     CLI::AppFormatMode /*mode*/) const {
    return HelpOf(*app, TerminalWidth(STDOUT_FILENO));
}
