// znpolicy package plan and install: the whole installation of one side.
#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "Input.h"
#include "InstallCheck.h"
#include "InstallOutput.h"
#include "InstallRun.h"
#include "Interrupt.h"
#include "Progress.h"
#include "RunDirectory.h"
#include "ScratchDirectory.h"
#include "UpdateDescription.h"

namespace {

struct InstallArguments {
    std::string side;
    std::string root;
    std::string update;
    std::optional<int> terminal;
    bool dryRun = false;
    int wait = 0;
    size_t keep = 3;
    bool ignoreMissing = false;

    ZnSide Side() const {
        return side == "server" ? SERVER_SIDE : CLIENT_SIDE;
    }
};

std::vector<ZnPackageInfo> ReadUpdateFile(const std::string& file) {
    return ParseUpdate(ReadInput(file, kMaxUpdateSize), InputTitle(file));
}

std::vector<ZnPackageInfo> ReadRecords(const InstallArguments& arguments) {
    return arguments.terminal ? PeekUpdate(*arguments.terminal) : ReadUpdateFile(arguments.update);
}

// Throws an error with its reasons, each of which is printed on a line of its own without JSON.
[[noreturn]] void Fail(const std::string& message, const std::vector<std::string>& reasons,
                       bool json) {
    std::cout.flush();
    for (const std::string& reason : reasons) {
        if (!json && reason != message) {
            PrintError(false, "", reason);
        }
    }
    throw CommandError(message, {{"reasons", reasons}});
}

void Plan(const InstallArguments& arguments, bool json) {
    const std::vector<ZnPackageInfo> records = ReadRecords(arguments);
    CheckedPlan checked;
    {
        const InterruptScope interrupts;  // removes temporary files
        const Progress progress("planning", 0);
        checked =
            CheckInstallation(arguments.root, arguments.Side(), records, arguments.ignoreMissing);
        ThrowIfInterrupted();
    }
    PrintPlan(checked, RunDirectory::HasJournal(arguments.root), json);
    if (!checked.problems.empty()) {
        Fail("the installation would fail", checked.problems, json);
    }
}

// Lets the library log errors to a file that only this run sees, unless the user wants its records
// elsewhere: they say why an installation failed.
void CaptureErrors(const ScratchDirectory& scratch) {
    const char* const file = std::getenv("ZN_LOG_FILE");
    const char* const level = std::getenv("ZN_LOG_LEVEL");
    if ((file == nullptr || *file == '\0') && level != nullptr && std::string(level) == "off") {
        setenv("ZN_LOG_LEVEL", "error", 1);
        setenv("ZN_LOG_FILE", (scratch.Path() + "/log").c_str(), 1);
    }
}

RunOptions OptionsOf(const InstallArguments& arguments, std::vector<ZnPackageInfo> records) {
    RunOptions options;
    options.root = arguments.root;
    options.side = arguments.Side();
    options.records = std::move(records);
    options.terminal = arguments.terminal;
    options.waitSeconds = arguments.wait;
    options.keep = arguments.keep;
    options.ignoreMissing = arguments.ignoreMissing;
    return options;
}

void Install(const InstallArguments& arguments, bool json) {
    if (arguments.dryRun) {
        Plan(arguments, json);
        return;
    }
    // May wait for a terminal or pipe, where signals have to end the program.
    std::vector<ZnPackageInfo> records = ReadRecords(arguments);
    InterruptScope interrupts;
    RunReport report;
    bool isPrinted = false;
    const auto printFailure = [&](const std::vector<std::string>& reasons) {
        if (!isPrinted) {
            PrintFailure(report, reasons, json);
        }
    };
    try {
        const ScratchDirectory scratch;
        CaptureErrors(scratch);
        RunInstallation(OptionsOf(arguments, std::move(records)), report, [&] {
            isPrinted = true;
            PrintRun(report, json);
            RequireOutput();
        });
        interrupts.Complete();
    } catch (const RunFailed& failure) {
        printFailure(failure.Reasons());
        Fail(failure.what(), failure.Reasons(), json);
    } catch (const Interrupted& interrupted) {
        report.plan = {};
        printFailure({interrupted.what()});
        if (report.recovered.empty()) {
            throw;
        }
        throw Interrupted(interrupted.Signal(), "only the interrupted run was rolled back");
    } catch (const std::exception& error) {
        report.plan = {};
        printFailure({error.what()});
        Fail(error.what(), {error.what()}, json);
    }
}

std::string IsNumberOfRuns(const std::string& value) {
    constexpr int kMost = 1000;
    int number = -1;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return value == std::to_string(number) && number >= 0 && number <= kMost
               ? ""
               : "\"" + value + "\" is not a number from 0 to " + std::to_string(kMost);
}

void AddArguments(CLI::App& command, InstallArguments& arguments) {
    command.add_option("--side", arguments.side, "The side whose packages are meant")
        ->check(CLI::IsMember({"server", "client"}))
        ->required();
    AddRootOption(command, arguments.root);
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
    command.add_flag("--ignore-missing", arguments.ignoreMissing,
                     "Install although records of this side have no zip");
}

}  // namespace

void AddInstallCommands(CLI::App& package, Context& context) {
    const auto arguments = std::make_shared<InstallArguments>();
    CLI::App* install =
        package.add_subcommand("install", "Install the packages of one side that records ask for");
    AddArguments(*install, *arguments);
    install->add_flag("--dry-run", arguments->dryRun, "Show what would change, and change nothing");
    AddWaitOption(*install, arguments->wait);
    install->add_option("--keep", arguments->keep, "How many runs to keep for rolling back")
        ->type_name("N")
        ->check(IsNumberOfRuns)
        ->capture_default_str();
    AddJsonOption(*install, context);
    SetAction(*install, context, [=, &context] { Install(*arguments, context.json); });

    CLI::App* plan =
        package.add_subcommand("plan", "Show what install would change, without changing anything");
    AddArguments(*plan, *arguments);
    AddJsonOption(*plan, context);
    SetAction(*plan, context, [=, &context] { Plan(*arguments, context.json); });
}
