// Command-line arguments that several commands have.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Commands.h"

// Validators: each returns what is wrong with a value, or "".
std::string NotEmpty(const std::string& value);
std::string IsId(const std::string& value);  // accepts canonical decimal 32-bit integers

// Adds the required argument ID.
void AddIdArgument(CLI::App& command, int& id, const std::string& description);

// Adds the required argument ID, which may be given several times.
void AddIdsArgument(CLI::App& command, std::vector<int>& ids, const std::string& description);

// Adds the required option --root.
void AddRootOption(CLI::App& command, std::string& root);

// Adds the option --wait.
void AddWaitOption(CLI::App& command, int& seconds);

// Adds the option --json.
void AddJsonOption(CLI::App& command, Context& context);

// Throws CLI::ValidationError when "-", standard input, is given more than once.
void RequireOneStandardInput(const std::vector<std::string>& files);

// Throws std::runtime_error when something printed to standard output could not be written.
void RequireOutput();

// Runs `action` for each id. A PolicyStore::Error or CommandError of one is printed and makes the
// exit status 1; the others follow.
void ForEachId(const std::vector<int>& ids, Context& context,
               const std::function<void(int)>& action);

// Sets what `command` does when it is chosen.
void SetAction(CLI::App& command, Context& context, std::function<void()> action);
