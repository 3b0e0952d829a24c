// znpolicy package plan and install: the whole installation of one side.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Input.h"
#include "InstallOutput.h"
#include "Progress.h"
#include "RedirectedStdio.h"
#include "UpdateDescription.h"
#include "ZnVcUpdate.h"

namespace {

struct InstallArguments {
    std::string side;
    std::string root;
    std::string update;
    std::optional<int> terminal;

    ZnSide Side() const {
        return side == "server" ? SERVER_SIDE : CLIENT_SIDE;
    }
};

std::vector<ZnPackageInfo> ReadUpdateFile(const std::string& file) {
    return ParseUpdate(ReadInput(file, kMaxUpdateSize), InputTitle(file));
}

void Plan(const InstallArguments& arguments, bool json) {
    InstallPlan plan;
    {
        const Progress progress("planning", 0);
        plan = PlanInstallation(arguments.root, arguments.Side(),
                                arguments.terminal ? PeekUpdate(*arguments.terminal)
                                                   : ReadUpdateFile(arguments.update));
    }
    PrintPlan(plan, json);
    if (plan.Fails()) {
        throw std::runtime_error("the installation would fail");
    }
}

void Install(const InstallArguments& arguments, bool json) {
    const std::vector<ZnPackageInfo> records =
        arguments.terminal ? TakeUpdate(*arguments.terminal) : ReadUpdateFile(arguments.update);
    const InstallPlan plan = PlanInstallation(arguments.root, arguments.Side(), records);
    int result = 0;
    {
        const Progress progress("installing", 0);
        const RedirectedStdio silenced;
        result = ZnVcUpdate::BuildVcInstallList(arguments.root, arguments.Side(), records);
    }
    const size_t failures = PrintOutcome(plan, json);
    if (result != 0) {
        throw std::runtime_error("the installation stopped: a zip could not be unpacked");
    }
    if (failures > 0) {
        throw std::runtime_error("packages that failed: " + std::to_string(failures));
    }
}

void AddArguments(CLI::App& command, InstallArguments& arguments) {
    command.add_option("--side", arguments.side, "server or client")
        ->check(CLI::IsMember({"server", "client"}))
        ->required();
    command.add_option("--root", arguments.root, "The microservices directory, with Package in it")
        ->type_name("DIR")
        ->check(NotEmpty)
        ->required();
    CLI::Option_group* source = command.add_option_group("records", "Where the records come from");
    source
        ->add_option("--update", arguments.update,
                     "File with an update description; - for standard input")
        ->type_name("FILE");
    source
        ->add_option("--terminal", arguments.terminal,
                     "Terminal whose policy contains the update description")
        ->type_name("ID")
        ->check(IsId);
    source->require_option(1);
}

}  // namespace

void AddInstallCommands(CLI::App& package, Context& context) {
    const auto arguments = std::make_shared<InstallArguments>();
    CLI::App* install =
        package.add_subcommand("install", "Install the packages of one side that records ask for");
    AddArguments(*install, *arguments);
    AddJsonOption(*install, context);
    SetAction(*install, context, [=, &context] { Install(*arguments, context.json); });

    CLI::App* plan =
        package.add_subcommand("plan", "Show what install would change, without changing anything");
    AddArguments(*plan, *arguments);
    AddJsonOption(*plan, context);
    SetAction(*plan, context, [=, &context] { Plan(*arguments, context.json); });
}
