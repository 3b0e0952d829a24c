#include "UsageError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <vector>

#include "CommandTree.h"
#include "NearestName.h"

namespace {

// The innermost command on the command line.
const CLI::App& ChosenCommand(const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? app : ChosenCommand(*chosen.front());
}

std::vector<std::string> OptionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : OptionsOf(*app)) {
            const std::vector<std::string> spellings = SpellingsOf(*option);
            names.insert(names.end(), spellings.begin(), spellings.end());
        }
    }
    return names;
}

std::vector<std::string> CommandNames(const CLI::App& command) {
    const std::vector<const CLI::App*> commands = CommandsOf(command);
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const CLI::App* child : commands) {
        names.push_back(child->get_name());
    }
    return names;
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

void DescribeUnknownWord(const CLI::App& command, const std::string& word, UsageError& problem) {
    const std::string name = word.substr(0, word.find('='));
    const std::vector<std::string> commands = CommandNames(command);
    const std::vector<std::string> options = OptionNames(command);
    if (Contains(options, name)) {
        problem.message =
            "option \"" + name + "\" must follow the command \"" + CommandPath(command) + "\"";
    } else if (!word.empty() && word.front() == '-') {
        problem.message = "unknown option \"" + name + "\"";
        problem.suggestion = NearestName(name, options);
    } else if (Contains(commands, word)) {
        problem.message = "\"" + word + "\" after \"--\" is not a command";
    } else if (!commands.empty()) {
        problem.message = "unknown command \"" + word + "\"";
        problem.suggestion = NearestName(word, commands);
    } else {
        problem.message = "unexpected argument \"" + word + "\"";
    }
}

std::string MissingCommand(const CLI::App& command) {
    return "a command is missing; there are: " + CLI::detail::join(CommandNames(command), ", ");
}

// Names the options of the first group of which not exactly one is given.
std::string MissingChoice(const CLI::App& command) {
    for (const CLI::App* group : RequiredGroupsOf(command)) {
        const std::vector<const CLI::Option*> options = OptionsOfGroup(*group);
        std::vector<std::string> names;
        std::size_t given = 0;
        for (const CLI::Option* option : options) {
            names.push_back(option->get_name());
            given += option->count() > 0 ? 1 : 0;
        }
        if (given != 1) {
            return "give either " + CLI::detail::join(names, " or ");
        }
    }
    return "";
}

// Returns the option or argument that the parser's message begins with, or null.
const CLI::Option* MentionedOption(const CLI::App& command, const std::string& message) {
    const std::string name = message.substr(0, message.find_first_of(": "));
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const auto& options : {OptionsOf(*app), ArgumentsOf(*app)}) {
            for (const CLI::Option* option : options) {
                // A flag that is given a value is mentioned without dashes.
                if (option->get_name() == name || option->check_lname(name)) {
                    return option;
                }
            }
        }
    }
    return nullptr;
}

std::string DescribeMismatch(const CLI::Option& option) {
    const std::string name = option.get_name();
    if (ValueName(option).empty()) {
        return name + " takes no value";
    }
    return name + (option.count() > 1 ? " is given more than once" : " needs a value");
}

void DescribeWrongChoice(const CLI::Option& option, UsageError& problem) {
    const std::string& value = option.results().back();
    const std::vector<std::string> choices = ChoicesOf(option);
    problem.message =
        option.get_name() + ": \"" + value + "\" is not one of " + CLI::detail::join(choices, ", ");
    problem.suggestion = NearestName(value, choices);
}

template <typename Error>
bool Is(const CLI::ParseError& error) {
    return dynamic_cast<const Error*>(&error) != nullptr;
}

}  // namespace

UsageError DescribeUsageError(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = ChosenCommand(app);
    const std::string path = CommandPath(command);
    UsageError problem = {error.what(), "",
                          "znpolicy " + path + (path.empty() ? "" : " ") + "--help"};
    const bool isIncomplete = Is<CLI::RequiredError>(error);
    const std::vector<std::string> unknown = app.remaining(true);
    const CLI::Option* const option = MentionedOption(command, problem.message);
    if (!unknown.empty() &&
        (isIncomplete || Is<CLI::ExtrasError>(error) || Is<CLI::Success>(error))) {
        DescribeUnknownWord(command, unknown.front(), problem);
    } else if (isIncomplete && !CommandsOf(command).empty()) {
        problem.message = MissingCommand(command);
    } else if (isIncomplete && option == nullptr) {
        problem.message = MissingChoice(command);
    } else if (Is<CLI::ArgumentMismatch>(error) && option != nullptr) {
        problem.message = DescribeMismatch(*option);
    } else if (Is<CLI::ValidationError>(error) && option != nullptr &&
               !ChoicesOf(*option).empty()) {
        DescribeWrongChoice(*option, problem);
    }
    return problem;
}
