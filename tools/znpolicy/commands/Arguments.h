// Command-line arguments that several commands have.
#pragma once

#include <functional>
#include <string>

#include "Commands.h"

// Validators: each returns what is wrong with a value, or "".
std::string NotEmpty(const std::string& value);
std::string IsId(const std::string& value);  // accepts canonical decimal 32-bit integers

// Adds the required argument ID.
void AddIdArgument(CLI::App& command, int& id, const std::string& description);

// Adds the required option --root.
void AddRootOption(CLI::App& command, std::string& root);

// Adds the option --wait.
void AddWaitOption(CLI::App& command, int& seconds);

// Adds the option --json.
void AddJsonOption(CLI::App& command, Context& context);

// Throws std::runtime_error when something printed to standard output could not be written.
void RequireOutput();

// Sets what `command` does when it is chosen.
void SetAction(CLI::App& command, Context& context, std::function<void()> action);
