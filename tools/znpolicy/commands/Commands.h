// What every command of the program is given.
#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}

struct Context {
    bool json = false;  // answer in JSON instead of a table

    // What the chosen command does, run once the whole command line has been understood. Its result
    // is the exit status; an exception it throws becomes one line on standard error and status 1.
    std::function<int()> run;
};

// Exit statuses.
constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitWrongUsage = 2;

// Each adds a group of commands.
void AddPolicyCommands(CLI::App& app, Context& context);
void AddSessionCommand(CLI::App& app, Context& context);
void AddVcCommands(CLI::App& app, Context& context);
void AddUpdateCommands(CLI::App& app, Context& context);
void AddPackageCommands(CLI::App& app, Context& context);
void AddInstallCommands(CLI::App& package, Context& context);

// Checks of command-line values: each tells what is wrong with one, or "".
std::string NotEmpty(const std::string& value);  // a name: an empty one would stand for a default
std::string IsId(const std::string& value);      // a decimal 32-bit integer

// Adds the argument ID to a command.
void AddIdArgument(CLI::App& command, int& id, const std::string& description);

// Adds the option --json to a command.
void AddJsonOption(CLI::App& command, Context& context);
