// znpolicy package rollback.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "EscapeText.h"
#include "Json.h"
#include "Paths.h"
#include "Rollback.h"
#include "RunDirectory.h"
#include "RunRollback.h"
#include "Table.h"

// Keeps runs out of the package's root directory, and refuses to touch what one has left half done.
static std::optional<RunDirectory> LockRootOf(const std::string& package, int waitSeconds) {
    const std::string root = RunDirectory::RootAbove(package);
    if (root.empty()) {
        return std::nullopt;
    }
    std::optional<RunDirectory> directory(std::in_place, root, waitSeconds);
    if (Journal::Exists(directory->JournalPath())) {
        throw std::runtime_error(
            "an installation was interrupted; first run: znpolicy package "
            "recover --root " +
            root);
    }
    return directory;
}

static void RollBackPackage(const std::string& package, bool force, int waitSeconds, bool json) {
    const std::optional<RunDirectory> locked = LockRootOf(package, waitSeconds);
    const std::vector<RolledBackFile> files = RollBack(WithDirectory(package), force);
    Json document = Json::array();
    Table table({"FILE", "RESULT", "REASON"});
    size_t notRestored = 0;
    for (const RolledBackFile& file : files) {
        document.push_back(
            {{"file", file.destination}, {"result", file.result}, {"reason", file.reason}});
        table.AddRow({file.destination, file.result, file.reason});
        notRestored += file.reason.empty() ? 0 : 1;
    }
    if (json) {
        PrintJson(document);
    } else {
        table.Print();
    }
    if (notRestored > 0) {
        throw std::runtime_error(package + ": files not restored: " + std::to_string(notRestored));
    }
}

namespace {

struct RollbackArguments {
    std::string package;
    std::string root;
    std::optional<int> run;
    bool force = false;
    int wait = 0;
};

}  // namespace

static void PrintRestored(const std::vector<std::string>& restored, bool json) {
    if (json) {
        PrintJson({{"restored", restored}});
        return;
    }
    for (const std::string& path : restored) {
        std::cout << "restored " << Escaped(path) << '\n';
    }
}

static void RollBackLastRun(const RollbackArguments& arguments, bool json) {
    RollBackRun(arguments.root, arguments.run, arguments.force, arguments.wait,
                [json](const std::vector<std::string>& restored) {
                    PrintRestored(restored, json);
                    RequireOutput();
                });
}

void AddRollbackCommand(CLI::App& package, Context& context) {
    const auto arguments = std::make_shared<RollbackArguments>();
    CLI::App* rollback =
        package.add_subcommand("rollback",
                               "Restore the state before an installation, or the files that a "
                               "package replaced");
    CLI::Option_group* what = rollback->add_option_group("what", "What to roll back");
    what->add_option("PACKAGE", arguments->package,
                     "The zip, or the directory it was unpacked into: restores its .bak files");
    what->add_option("--root", arguments->root,
                     "The microservices directory: restores the state before its last installation")
        ->type_name("DIR")
        ->check(NotEmpty);
    what->require_option(1);
    rollback->add_option("--run", arguments->run, "Another installation than the last, by number")
        ->type_name("N")
        ->needs("--root");
    rollback->add_flag("--force", arguments->force, "Restore files that were changed since, too");
    AddWaitOption(*rollback, arguments->wait);
    AddJsonOption(*rollback, context);
    SetAction(*rollback, context, [=, &context] {
        if (arguments->root.empty()) {
            RollBackPackage(arguments->package, arguments->force, arguments->wait, context.json);
        } else {
            RollBackLastRun(*arguments, context.json);
        }
    });
}
