// znpolicy package history and recover: the runs of a root directory.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "EscapeText.h"
#include "Json.h"
#include "RunRollback.h"
#include "Table.h"

namespace {

struct HistoryArguments {
    std::string root;
    int wait = 0;
};

Json ToJson(const PastRun& run) {
    Json packages = Json::array();
    for (const PastRun::Package& package : run.packages) {
        packages.push_back(
            {{"zip", package.zip}, {"name", package.name}, {"version", package.version}});
    }
    Json files = Json::array();
    for (const PastRun::File& file : run.files) {
        files.push_back({{"destination", file.destination}, {"result", file.result}});
    }
    return {{"run", run.number},
            {"when", run.when},
            {"side", run.side},
            {"packages", packages},
            {"files", files}};
}

void PrintHistory(const std::vector<PastRun>& runs) {
    for (const PastRun& run : runs) {
        std::cout << "run " << run.number << ", " << Escaped(run.when) << ", " << Escaped(run.side)
                  << " side\n";
        for (const PastRun::Package& package : run.packages) {
            std::cout << "  package " << Escaped(package.zip)
                      << (package.version.empty() ? "" : ", version " + Escaped(package.version))
                      << '\n';
        }
        for (const PastRun::File& file : run.files) {
            std::cout << "  " << Escaped(file.result) << ' ' << Escaped(file.destination) << '\n';
        }
    }
    if (runs.empty()) {
        std::cout << "no runs\n";
    }
}

void History(const HistoryArguments& arguments, bool json) {
    const std::vector<PastRun> runs = RunHistory(arguments.root, arguments.wait);
    if (!json) {
        PrintHistory(runs);
        return;
    }
    Json answer = Json::array();
    for (const PastRun& run : runs) {
        answer.push_back(ToJson(run));
    }
    PrintJson(answer);
}

void Recover(const HistoryArguments& arguments, bool json) {
    const std::vector<std::string> restored = RecoverRun(arguments.root, arguments.wait);
    if (json) {
        PrintJson({{"recovered", restored}});
        return;
    }
    for (const std::string& path : restored) {
        std::cout << "restored " << Escaped(path) << '\n';
    }
    if (restored.empty()) {
        std::cout << "nothing to recover\n";
    }
}

}  // namespace

void AddHistoryCommands(CLI::App& package, Context& context) {
    const auto arguments = std::make_shared<HistoryArguments>();
    const auto add = [&](const char* name, const char* description) {
        CLI::App* command = package.add_subcommand(name, description);
        AddRootOption(*command, arguments->root);
        AddWaitOption(*command, arguments->wait);
        AddJsonOption(*command, context);
        return command;
    };
    SetAction(*add("history", "Show the last installations, the newest first"), context,
              [=, &context] { History(*arguments, context.json); });
    SetAction(*add("recover", "Roll an interrupted installation back"), context,
              [=, &context] { Recover(*arguments, context.json); });
}
