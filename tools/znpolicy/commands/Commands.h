// The command groups of the program.
#pragma once

#include <functional>

namespace CLI {
class App;
}

struct Context {
    bool json = false;  // print JSON instead of tables

    // The chosen command, run once the whole command line has been parsed. An exception that it
    // throws becomes one line on standard error.
    std::function<void()> run;

    // The exit statuses after the command, and after an exception. A command may change them.
    int status = 0;
    int failureStatus = 1;
};

// Adds the group "policy", to which those below belong.
void AddPolicyCommands(CLI::App& app, Context& context);
void AddPolicyCheckCommands(CLI::App& policy, Context& context);
void AddPolicySyncCommands(CLI::App& policy, Context& context);
void AddPolicyDocumentCommands(CLI::App& policy, Context& context);
void AddPolicyListCommand(CLI::App& policy, Context& context);
void AddPolicyShowCommand(CLI::App& policy, Context& context);

void AddSessionCommand(CLI::App& app, Context& context);
void AddVcCommands(CLI::App& app, Context& context);

// Adds the group "update", to which the one below belongs.
void AddUpdateCommands(CLI::App& app, Context& context);
void AddUpdateCheckCommands(CLI::App& update, Context& context);

// Adds the group "package", to which those below belong.
void AddPackageCommands(CLI::App& app, Context& context);
void AddAuthorCommands(CLI::App& package, Context& context);
void AddInstallCommands(CLI::App& package, Context& context);
void AddHistoryCommands(CLI::App& package, Context& context);
void AddRollbackCommand(CLI::App& package, Context& context);

void AddCompletionCommands(CLI::App& app, Context& context);
