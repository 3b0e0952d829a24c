// znpolicy package install and plan: the whole flow for one side.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "EscapeText.h"
#include "Input.h"
#include "InstallPlan.h"
#include "Json.h"
#include "PackageRecords.h"
#include "Progress.h"
#include "RedirectedStdout.h"
#include "ZnCrypto.h"
#include "ZnVcUpdate.h"

namespace {

struct Arguments {
    std::string side;
    std::string root;
    std::string update;
    int terminal = 0;
    bool fromTerminal = false;

    ZnSide Side() const {
        return side == "server" ? SERVER_SIDE : CLIENT_SIDE;
    }
};

std::vector<ZnPackageInfo> ReadRecords(const Arguments& arguments, bool mayStore) {
    if (!arguments.fromTerminal) {
        return ParseUpdateDescription(ReadInput(arguments.update, kMaxDescriptionSize),
                                      InputTitle(arguments.update));
    }
    const std::string name =
        "the update description of policy " + std::to_string(arguments.terminal);
    const std::string text = mayStore ? TakeUpdateDescription(arguments.terminal)
                                      : PeekUpdateDescription(arguments.terminal);
    return ParseUpdateDescription(text, name);
}

// --- plan ---

Json FileToJson(const PlannedFile& file, const std::string& result, const std::string& reason) {
    return {{"file", file.source},
            {"destination", file.destination},
            {"result", result},
            {"reason", reason}};
}

Json PackageToJson(const PlannedPackage& package, const std::string& reason) {
    return {{"zip", package.zip},
            {"platform", package.platform},
            {"reason", reason},
            {"files", Json::array()}};
}

void PrintPlanAsJson(const InstallPlan& plan) {
    Json packages = Json::array();
    for (const PlannedPackage& package : plan.packages) {
        Json entry = PackageToJson(package, package.reason);
        for (const PlannedFile& file : package.files) {
            Json fileEntry = FileToJson(file, ActionName(file.action), file.reason);
            fileEntry["dropsBackup"] = file.dropsBackup;
            entry["files"].push_back(fileEntry);
        }
        packages.push_back(entry);
    }
    PrintJson({{"bundles", plan.bundles}, {"unmatched", plan.unmatched}, {"packages", packages}});
}

void PrintPlanAsTable(const InstallPlan& plan) {
    for (const std::string& bundle : plan.bundles) {
        std::cout << "unpack the bundle " << Escaped(bundle) << '\n';
    }
    for (const std::string& zip : plan.unmatched) {
        std::cout << "leave alone " << Escaped(zip) << ": no record asks for it\n";
    }
    for (const PlannedPackage& package : plan.packages) {
        std::cout << Escaped(package.zip) << '\n';
        Table table({"  ACTION", "DESTINATION", "NOTE"});
        for (const PlannedFile& file : package.files) {
            table.AddRow({std::string("  ") + ActionName(file.action), file.destination,
                          file.dropsBackup ? "the older .bak is deleted" : file.reason});
        }
        if (!table.IsEmpty()) {
            table.Print();
        }
        if (!package.reason.empty()) {
            std::cout << "  would fail: " << Escaped(package.reason) << '\n';
        }
    }
}

int Plan(const Arguments& arguments, bool json) {
    InstallPlan plan;
    {
        const Progress progress("planning", 0);
        plan = PlanInstallation(arguments.root, arguments.Side(), ReadRecords(arguments, false));
    }
    if (json) {
        PrintPlanAsJson(plan);
    } else {
        PrintPlanAsTable(plan);
    }
    if (plan.Fails()) {
        throw std::runtime_error("the installation would fail");
    }
    return kExitDone;
}

// --- install ---

// What became of a package, judged by what is on disk now.
struct Outcome {
    size_t installed = 0;
    size_t unchanged = 0;
    size_t failed = 0;
    size_t backups = 0;
    std::string reason;  // why it failed, else ""
    Json files = Json::array();
};

// Whether the destination holds the package's file, or what a later package has put in its place.
bool IsInPlace(const PlannedFile& file) {
    const std::string now = ZnSha256::FileSha256Value(file.destination);
    return !now.empty() && (now == file.digest || now == file.digestAtEnd);
}

bool HasBackup(const PlannedFile& file) {
    const std::string backup = file.destination + ".bak";
    return file.digestBefore.empty()
               ? file.action == FileAction::kReplace && access(backup.c_str(), F_OK) == 0
               : ZnSha256::FileSha256Value(backup) == file.digestBefore;
}

std::string WhyNotInPlace(const PlannedFile& file) {
    if (!file.reason.empty()) {
        return file.reason;
    }
    return file.action == FileAction::kNotReached
               ? "not reached"
               : "not installed; the library's records say why (--log-level error)";
}

void Judge(const PlannedFile& file, Outcome& outcome) {
    std::string result = "failed";
    std::string reason;
    if (!IsInPlace(file)) {
        ++outcome.failed;
        reason = WhyNotInPlace(file);
        if (outcome.reason.empty()) {
            outcome.reason = file.destination + ": " + reason;
        }
    } else if (file.digestBefore == file.digest) {
        ++outcome.unchanged;
        result = "unchanged";
    } else {
        ++outcome.installed;
        outcome.backups += HasBackup(file) ? 1 : 0;
        result = "installed";
    }
    outcome.files.push_back(FileToJson(file, result, reason));
}

Outcome OutcomeOf(const PlannedPackage& package) {
    Outcome outcome;
    for (const PlannedFile& file : package.files) {
        Judge(file, outcome);
    }
    if (outcome.reason.empty()) {
        outcome.reason = package.reason;
    }
    return outcome;
}

// Prints what became of every package; returns how many of them failed.
size_t PrintSummary(const InstallPlan& plan, bool json) {
    Json packages = Json::array();
    Table table({"PACKAGE", "INSTALLED", "UNCHANGED", "FAILED", "BACKUPS", "REASON"});
    size_t failures = 0;
    for (const PlannedPackage& package : plan.packages) {
        const Outcome outcome = OutcomeOf(package);
        Json entry = PackageToJson(package, outcome.reason);
        entry["files"] = outcome.files;
        entry["installed"] = outcome.installed;
        entry["unchanged"] = outcome.unchanged;
        entry["failed"] = outcome.failed;
        entry["backups"] = outcome.backups;
        packages.push_back(entry);
        table.AddRow({package.zip.substr(package.zip.rfind('/') + 1),
                      std::to_string(outcome.installed), std::to_string(outcome.unchanged),
                      std::to_string(outcome.failed), std::to_string(outcome.backups),
                      outcome.reason});
        failures += outcome.reason.empty() ? 0 : 1;
    }
    if (json) {
        PrintJson(
            {{"bundles", plan.bundles}, {"unmatched", plan.unmatched}, {"packages", packages}});
        return failures;
    }
    for (const std::string& bundle : plan.bundles) {
        std::cout << "release bundle " << Escaped(bundle)
                  << ": what it brought in for the first time is for the next run\n";
    }
    if (table.IsEmpty()) {
        std::cout << "nothing to install: no record asks for a zip of this side\n";
    } else {
        table.Print();
    }
    return failures;
}

int Install(const Arguments& arguments, bool json) {
    const std::vector<ZnPackageInfo> records = ReadRecords(arguments, true);
    const InstallPlan plan = PlanInstallation(arguments.root, arguments.Side(), records);
    int result = 0;
    {
        const Progress progress("installing", 0);
        const RedirectedStdout silenced;
        result = ZnVcUpdate::BuildVcInstallList(arguments.root, arguments.Side(), records);
    }
    const size_t failures = PrintSummary(plan, json);
    if (result != 0) {
        throw std::runtime_error("the installation stopped: a zip could not be unpacked");
    }
    if (failures > 0) {
        throw std::runtime_error("packages that failed: " + std::to_string(failures));
    }
    return kExitDone;
}

void AddArguments(CLI::App& command, Arguments& arguments) {
    command.add_option("--side", arguments.side, "server or client")
        ->check(CLI::IsMember({"server", "client"}))
        ->required();
    command
        .add_option("--root", arguments.root, "The microservices directory, which holds Package")
        ->type_name("DIR")
        ->check(NotEmpty)
        ->required();
    CLI::Option_group* source = command.add_option_group("records", "Where the records come from");
    source
        ->add_option("--update", arguments.update,
                     "File with an update description; - for "
                     "standard input")
        ->type_name("FILE");
    source
        ->add_option_function<int>(
            "--terminal",
            [&arguments](int id) {
                arguments.terminal = id;
                arguments.fromTerminal = true;
            },
            "Terminal whose policy carries the update description")
        ->type_name("ID")
        ->check(IsId);
    source->require_option(1);
}

}  // namespace

void AddInstallCommands(CLI::App& package, Context& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* install =
        package.add_subcommand("install", "Install one side's packages that the records ask for");
    AddArguments(*install, *arguments);
    AddJsonOption(*install, context);
    install->callback([=, &context] {
        context.run = [=, &context] { return Install(*arguments, context.json); };
    });

    CLI::App* plan = package.add_subcommand(
        "plan", "Tell file by file what install would do, without touching anything");
    AddArguments(*plan, *arguments);
    AddJsonOption(*plan, context);
    plan->callback(
        [=, &context] { context.run = [=, &context] { return Plan(*arguments, context.json); }; });
}
