#include "UsageError.h"

#include <CLI/CLI.hpp>
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

void DescribeUnknownWord(const CLI::App& command, const std::string& word, UsageError& problem) {
    const std::string name = word.substr(0, word.find('='));
    const std::vector<std::string> commands = CommandNames(command);
    if (!word.empty() && word.front() == '-') {
        problem.message = "unknown option \"" + name + "\"";
        problem.suggestion = NearestName(name, OptionNames(command));
    } else if (!commands.empty()) {
        problem.message = "unknown command \"" + word + "\"";
        problem.suggestion = NearestName(word, commands);
    } else {
        problem.message = "unexpected argument \"" + word + "\"";
    }
}

std::string MissingCommand(const CLI::App& command) {
    std::string message = "a command is missing; there are: ";
    const std::vector<std::string> names = CommandNames(command);
    for (const std::string& name : names) {
        message += (&name == &names.front() ? "" : ", ") + name;
    }
    return message;
}

}  // namespace

UsageError DescribeUsageError(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = ChosenCommand(app);
    const std::string path = CommandPath(command);
    UsageError problem = {error.what(), "",
                          "znpolicy " + path + (path.empty() ? "" : " ") + "--help"};
    const bool isIncomplete = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    const bool hasExtras = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::vector<std::string> unknown = app.remaining(true);
    if ((isIncomplete || hasExtras) && !unknown.empty()) {
        DescribeUnknownWord(command, unknown.front(), problem);
    } else if (isIncomplete && !CommandsOf(command).empty()) {
        problem.message = MissingCommand(command);
    }
    return problem;
}
