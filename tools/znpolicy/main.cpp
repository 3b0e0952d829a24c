// znpolicy: publishes policies, shows what sessions make of them, and handles plugin packages.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Arguments.h"
#include "CommandError.h"
#include "CommandLine.h"
#include "Environment.h"
#include "Interrupt.h"
#include "UsageError.h"

namespace {

constexpr int kWrongUsage = 2;  // an exit status

void PrintUsageError(bool json, const UsageError& problem) {
    const CommandError error = WithSuggestion(problem.message, problem.suggestion);
    PrintError(json, "usage", error.what(), error.Details());
    if (!json) {
        std::cerr << "Run \"" << problem.help << "\" for more information.\n";
    }
}

// Parses the command line, prepares the library's environment and runs the command.
int RunCommandLine(int argc, char** argv, bool json, Context& context) {
    CLI::App app;
    GlobalOptions options;
    AddCommandLine(app, options, context);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0 && app.remaining(true).empty()) {
            return app.exit(error);  // prints the help or the version
        }
        options.ApplyColor();
        PrintUsageError(json, DescribeUsageError(app, error));
        return kWrongUsage;
    }
    options.Apply();
    context.run();
    return context.status;
}

// Keeps files that the program opens off the standard descriptors that the caller closed. Using one
// of these still fails, because it is opened for the wrong direction.
void OpenStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    Context context;
    const bool json = AsksForJson(argc, argv);
    try {
        // The services would silently use the product's own files instead of those that the user
        // names.
        if (HasRaisedPrivileges()) {
            throw std::runtime_error(
                "refusing to run with raised privileges; remove the set-user-ID and set-group-ID "
                "bits and file capabilities from the program");
        }
        const int status = RunCommandLine(argc, argv, json, context);
        RequireOutput();
        return status;
    } catch (const Interrupted& interrupted) {
        PrintError(json, "interrupted", "interrupted; " + interrupted.Outcome());
        return 128 + interrupted.Signal();
    } catch (const CommandError& error) {
        std::cout.flush();
        PrintError(json, "failed", error.what(), error.Details());
        return context.failureStatus;
    } catch (const std::exception& error) {
        std::cout.flush();
        PrintError(json, "failed", error.what());
        return context.failureStatus;
    }
}
