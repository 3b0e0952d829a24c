// znpolicy: publishes policies, shows what sessions make of them, handles plugin packages.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Commands.h"
#include "Environment.h"
#include "EscapeText.h"
#include "GlobalOptions.h"

namespace {

// Exit statuses.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Parses the command line, prepares the library's environment and runs the command.
int RunCommandLine(int argc, char** argv) {
    CLI::App app("Publishes policies, shows what sessions make of them, handles plugin packages.",
                 "znpolicy");
    app.set_version_flag("--version", std::string("znpolicy ") + ZN_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // accepts global options after the command as well
    GlobalOptions options;
    options.AddTo(app);
    Context context;
    AddPolicyCommands(app, context);
    AddSessionCommand(app, context);
    AddVcCommands(app, context);
    AddUpdateCommands(app, context);
    AddPackageCommands(app, context);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);  // prints the help or the version
        }
        std::cerr << Escaped(error.what()) << "\nRun with --help for more information.\n";
        return kWrongUsage;
    }
    options.Apply();
    context.run();
    return kDone;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        // The services would silently use the product's own files instead of those that the user
        // names.
        if (HasRaisedPrivileges()) {
            throw std::runtime_error(
                "refusing to run with raised privileges; remove the set-user-ID and set-group-ID "
                "bits and file capabilities from the program");
        }
        const int status = RunCommandLine(argc, argv);
        std::cout.flush();
        if (!std::cout) {
            throw std::runtime_error("cannot write to standard output");
        }
        return status;
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "znpolicy: " << Escaped(error.what()) << '\n';
        return kFailed;
    }
}
