#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "Help.h"

void AddCommandLine(CLI::App& app, GlobalOptions& options, Context& context) {
    app.name("znpolicy");
    app.description(
        "Publishes policies, shows what sessions make of them, and handles plugin packages.");
    app.set_version_flag("--version", std::string("znpolicy ") + ZN_VERSION, "Print the version");
    app.require_subcommand(1);
    app.fallthrough();  // accepts global options after the command as well
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_option("--help")->description("Print this help");
    options.AddTo(app);
    AddPolicyCommands(app, context);
    AddSessionCommand(app, context);
    AddVcCommands(app, context);
    AddUpdateCommands(app, context);
    AddPackageCommands(app, context);
    AddCompletionCommands(app, context);
}
