// The command tree as help, completion and manual pages see it: without hidden commands, and with
// the options of option groups in their command.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

// Returns the visible subcommands, in the order they were added.
std::vector<const CLI::App*> CommandsOf(const CLI::App& command);

// Returns null if there is no such visible subcommand.
const CLI::App* FindCommand(const CLI::App& command, const std::string& name);

// Returns the options that begin with a dash.
std::vector<const CLI::Option*> OptionsOf(const CLI::App& command);

// Returns the options that are also, or only, accepted by position.
std::vector<const CLI::Option*> ArgumentsOf(const CLI::App& command);

// Returns the options and arguments of an option group, without the --help that it has itself.
std::vector<const CLI::Option*> OptionsOfGroup(const CLI::App& group);

// Returns the option groups of which some option is required.
std::vector<const CLI::App*> RequiredGroupsOf(const CLI::App& command);

// Returns the top of the tree.
const CLI::App& RootOf(const CLI::App& command);

// Returns the names below the root: "policy list", or "" for the root itself.
std::string CommandPath(const CLI::App& command);

// Returns the spellings of an option: "-h", "--help".
std::vector<std::string> SpellingsOf(const CLI::Option& option);

// Returns the values that an option accepts; none if it accepts others than a fixed set.
std::vector<std::string> ChoicesOf(const CLI::Option& option);

// Returns what stands for the value in help texts: "DIR", "auto|always|never", or "" for a flag.
std::string ValueName(const CLI::Option& option);

// Returns an argument as help texts show it, such as "FILE".
std::string ArgumentName(const CLI::Option& argument);

// Returns an option as help texts show it, such as "-h, --help" or "--store DIR".
std::string LabelOf(const CLI::Option& option);
