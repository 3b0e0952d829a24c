// znpolicy: publishes policies, shows what sessions make of them, handles plugin packages.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Arguments.h"
#include "Commands.h"
#include "Environment.h"
#include "EscapeText.h"
#include "GlobalOptions.h"
#include "Interrupt.h"

namespace {

constexpr int kWrongUsage = 2;  // an exit status

// Parses the command line, prepares the library's environment and runs the command.
int RunCommandLine(int argc, char** argv, Context& context) {
    CLI::App app("Publishes policies, shows what sessions make of them, handles plugin packages.",
                 "znpolicy");
    app.set_version_flag("--version", std::string("znpolicy ") + ZN_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // accepts global options after the command as well
    GlobalOptions options;
    options.AddTo(app);
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
    try {
        // The services would silently use the product's own files instead of those that the user
        // names.
        if (HasRaisedPrivileges()) {
            throw std::runtime_error(
                "refusing to run with raised privileges; remove the set-user-ID and set-group-ID "
                "bits and file capabilities from the program");
        }
        const int status = RunCommandLine(argc, argv, context);
        RequireOutput();
        return status;
    } catch (const Interrupted& interrupted) {
        std::cerr << "znpolicy: interrupted; " << interrupted.Outcome() << '\n';
        return 128 + interrupted.Signal();
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "znpolicy: " << Escaped(error.what()) << '\n';
        return context.failureStatus;
    }
}
