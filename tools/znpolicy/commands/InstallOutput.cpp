#include "InstallOutput.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "EscapeText.h"
#include "Json.h"
#include "Paths.h"
#include "Table.h"

namespace {

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

// The members that every answer has.
Json Answer(const std::string& result, const RunReport& report,
            const std::vector<std::string>& reasons) {
    Json bundles = Json::array();
    for (const PlannedUnpacking& bundle : report.plan.bundles) {
        bundles.push_back(bundle.zip);
    }
    return {{"result", result},
            {"reasons", reasons},
            {"recovered", report.recovered},
            {"bundles", bundles},
            {"unmatched", report.plan.unmatched},
            {"missing", report.plan.missing},
            {"packages", Json::array()}};
}

void PrintPlanAsJson(const CheckedPlan& checked, bool recovers) {
    RunReport report;
    report.plan = checked.plan;
    Json answer = Answer("plan", report, checked.problems);
    answer["recovers"] = recovers;
    for (const PlannedPackage& package : checked.plan.packages) {
        Json entry = PackageToJson(package, package.reason);
        for (const PlannedFile& file : package.files) {
            Json fileEntry = FileToJson(file, ActionName(file.action), file.reason);
            fileEntry["dropsBackup"] = file.dropsBackup;
            entry["files"].push_back(fileEntry);
        }
        answer["packages"].push_back(entry);
    }
    PrintJson(answer);
}

void PrintPlanAsTable(const InstallPlan& plan, bool recovers) {
    if (recovers) {
        std::cout
            << "a run was interrupted or is going on; install first restores the state before "
               "an interrupted run, which may change this plan\n";
    }
    for (const PlannedUnpacking& bundle : plan.bundles) {
        std::cout << "unpack the bundle " << Escaped(bundle.zip) << '\n';
    }
    for (const std::string& zip : plan.unmatched) {
        std::cout << "ignore " << Escaped(zip) << ": no record asks for it\n";
    }
    for (const std::string& name : plan.missing) {
        std::cout << "missing: no zip has the digest of the record \"" << Escaped(name) << "\"\n";
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

// The result of a file in a run that succeeded.
const char* ResultOf(const PlannedFile& file) {
    return file.action == FileAction::kUnchanged ? "unchanged" : "installed";
}

size_t CountFiles(const PlannedPackage& package, bool changing) {
    return static_cast<size_t>(
        std::count_if(package.files.begin(), package.files.end(), [&](const PlannedFile& file) {
            return (file.action != FileAction::kUnchanged) == changing;
        }));
}

// One row of a table, or one package of a JSON answer: how many files, and why they failed.
struct PackageResult {
    size_t installed = 0;
    size_t unchanged = 0;
    size_t failed = 0;
    size_t backups = 0;
    std::string reason;
};

Json ResultToJson(const PlannedPackage& package, const PackageResult& result) {
    Json entry = PackageToJson(package, result.reason);
    for (const PlannedFile& file : package.files) {
        const bool failed = result.failed > 0 && file.action != FileAction::kUnchanged;
        entry["files"].push_back(
            FileToJson(file, failed ? "failed" : ResultOf(file), failed ? result.reason : ""));
    }
    entry["installed"] = result.installed;
    entry["unchanged"] = result.unchanged;
    entry["failed"] = result.failed;
    entry["backups"] = result.backups;
    return entry;
}

void PrintResults(Json answer, const RunReport& report, const std::vector<PackageResult>& results,
                  bool json) {
    const std::vector<PlannedPackage>& packages = report.plan.packages;
    Table table({"PACKAGE", "INSTALLED", "UNCHANGED", "FAILED", "BACKUPS", "REASON"});
    for (size_t i = 0; i < packages.size(); ++i) {
        const PackageResult& result = results[i];
        answer["packages"].push_back(ResultToJson(packages[i], result));
        table.AddRow({FileName(packages[i].zip), std::to_string(result.installed),
                      std::to_string(result.unchanged), std::to_string(result.failed),
                      std::to_string(result.backups), result.reason});
    }
    if (json) {
        PrintJson(answer);
        return;
    }
    for (const std::string& path : report.recovered) {
        std::cout << "restored after an interrupted run: " << Escaped(path) << '\n';
    }
    for (const std::string& zip : report.plan.unmatched) {
        std::cout << "ignored " << Escaped(zip) << ": no record asks for it\n";
    }
    for (const std::string& name : report.plan.missing) {
        std::cout << "missing: no zip has the digest of the record \"" << Escaped(name) << "\"\n";
    }
    for (const PlannedUnpacking& bundle : report.plan.bundles) {
        std::cout << "release bundle " << Escaped(bundle.zip)
                  << ": zips that it added are installed by the next run\n";
    }
    if (!table.IsEmpty()) {
        table.Print();
    } else if (answer.at("result") != "failed") {
        std::cout << "nothing to install: no record asks for a zip of this side\n";
    }
}

// The first reason that names the package or one of its destinations, or that the run failed.
std::string ReasonFor(const PlannedPackage& package, const std::vector<std::string>& reasons) {
    for (const std::string& reason : reasons) {
        const bool isOwn =
            Contains(reason, package.zip) ||
            std::any_of(package.files.begin(), package.files.end(), [&](const PlannedFile& file) {
                return Contains(reason, file.destination);
            });
        if (isOwn) {
            return reason;
        }
    }
    return "not installed, because the run failed";
}

}  // namespace

void PrintPlan(const CheckedPlan& checked, bool recovers, bool json) {
    if (json) {
        PrintPlanAsJson(checked, recovers);
    } else {
        PrintPlanAsTable(checked.plan, recovers);
    }
}

void PrintRun(const RunReport& report, bool json) {
    std::vector<PackageResult> results;
    bool hasChanges = false;
    for (size_t i = 0; i < report.plan.packages.size(); ++i) {
        const PlannedPackage& package = report.plan.packages[i];
        results.push_back(
            {CountFiles(package, true), CountFiles(package, false), 0, report.backups[i], ""});
        hasChanges = hasChanges || results.back().installed > 0;
    }
    PrintResults(Answer(hasChanges ? "installed" : "unchanged", report, {}), report, results, json);
}

void PrintFailure(const RunReport& report, const std::vector<std::string>& reasons, bool json) {
    std::vector<PackageResult> results;
    for (const PlannedPackage& package : report.plan.packages) {
        const std::string reason = ReasonFor(package, reasons);
        results.push_back({0, CountFiles(package, false), CountFiles(package, true), 0, reason});
    }
    PrintResults(Answer("failed", report, reasons), report, results, json);
}
