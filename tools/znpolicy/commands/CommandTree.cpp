#include "CommandTree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>

namespace {

bool IsOptionGroup(const CLI::App& app) {
    return app.get_name().empty() && app.get_parent() != nullptr;
}

std::vector<const CLI::App*> GroupsOf(const CLI::App& command) {
    return command.get_subcommands([](const CLI::App* app) { return IsOptionGroup(*app); });
}

std::vector<const CLI::Option*> Collect(const CLI::App& command, bool wantsArguments) {
    const auto isWanted = [&](const CLI::Option* option) {
        return wantsArguments ? option->get_positional() : option->nonpositional();
    };
    std::vector<const CLI::Option*> options = command.get_options(isWanted);
    for (const CLI::App* group : GroupsOf(command)) {
        for (const CLI::Option* option : OptionsOfGroup(*group)) {
            if (isWanted(option)) {
                options.push_back(option);
            }
        }
    }
    return options;
}

std::string Join(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : separator) + part;
    }
    return text;
}

}  // namespace

std::vector<const CLI::App*> CommandsOf(const CLI::App& command) {
    return command.get_subcommands(
        [](const CLI::App* app) { return !app->get_name().empty() && !app->get_group().empty(); });
}

const CLI::App* FindCommand(const CLI::App& command, const std::string& name) {
    for (const CLI::App* child : CommandsOf(command)) {
        if (child->get_name() == name) {
            return child;
        }
    }
    return nullptr;
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command) {
    return Collect(command, false);
}

std::vector<const CLI::Option*> ArgumentsOf(const CLI::App& command) {
    return Collect(command, true);
}

std::vector<const CLI::Option*> OptionsOfGroup(const CLI::App& group) {
    return group.get_options(
        [&](const CLI::Option* option) { return option != group.get_help_ptr(); });
}

std::vector<const CLI::App*> RequiredGroupsOf(const CLI::App& command) {
    std::vector<const CLI::App*> groups = GroupsOf(command);
    groups.erase(
        std::remove_if(groups.begin(), groups.end(),
                       [](const CLI::App* group) { return group->get_require_option_min() == 0; }),
        groups.end());
    return groups;
}

const CLI::App& RootOf(const CLI::App& command) {
    const CLI::App* root = &command;
    while (root->get_parent() != nullptr) {
        root = root->get_parent();
    }
    return *root;
}

std::string CommandPath(const CLI::App& command) {
    if (command.get_parent() == nullptr) {
        return "";
    }
    const std::string parent = CommandPath(*command.get_parent());
    return parent.empty() ? command.get_name() : parent + " " + command.get_name();
}

std::vector<std::string> SpellingsOf(const CLI::Option& option) {
    std::vector<std::string> spellings;
    for (const std::string& name : option.get_snames()) {
        spellings.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        spellings.push_back("--" + name);
    }
    return spellings;
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const size_t begin = type.find('{');
    const size_t end = type.find('}');
    return begin == std::string::npos || end == std::string::npos
               ? std::vector<std::string>()
               : CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

std::string ValueName(const CLI::Option& option) {
    const std::vector<std::string> choices = ChoicesOf(option);
    if (!choices.empty()) {
        return Join(choices, "|");
    }
    if (option.get_expected_max() == 0) {
        return "";
    }
    if (option.get_positional()) {
        return ArgumentName(option);
    }
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

std::string ArgumentName(const CLI::Option& argument) {
    return argument.get_name(true);
}

std::string LabelOf(const CLI::Option& option) {
    const std::string value = ValueName(option);
    return Join(SpellingsOf(option), ", ") + (value.empty() ? "" : " " + value);
}
