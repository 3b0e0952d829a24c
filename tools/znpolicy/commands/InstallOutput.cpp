#include "InstallOutput.h"

#include <iostream>
#include <string>

#include "EscapeText.h"
#include "InstallOutcome.h"
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

void PrintJsonPackages(const InstallPlan& plan, const Json& packages) {
    PrintJson({{"bundles", plan.bundles}, {"unmatched", plan.unmatched}, {"packages", packages}});
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
    PrintJsonPackages(plan, packages);
}

void PrintPlanAsTable(const InstallPlan& plan) {
    for (const std::string& bundle : plan.bundles) {
        std::cout << "unpack the bundle " << Escaped(bundle) << '\n';
    }
    for (const std::string& zip : plan.unmatched) {
        std::cout << "ignore " << Escaped(zip) << ": no record asks for it\n";
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

Json OutcomeToJson(const PlannedPackage& package, const PackageOutcome& outcome) {
    Json entry = PackageToJson(package, outcome.reason);
    for (size_t i = 0; i < package.files.size(); ++i) {
        entry["files"].push_back(
            FileToJson(package.files[i], outcome.files[i].result, outcome.files[i].reason));
    }
    entry["installed"] = outcome.installed;
    entry["unchanged"] = outcome.unchanged;
    entry["failed"] = outcome.failed;
    entry["backups"] = outcome.backups;
    return entry;
}

}  // namespace

void PrintPlan(const InstallPlan& plan, bool json) {
    if (json) {
        PrintPlanAsJson(plan);
    } else {
        PrintPlanAsTable(plan);
    }
}

size_t PrintOutcome(const InstallPlan& plan, bool json) {
    Json packages = Json::array();
    Table table({"PACKAGE", "INSTALLED", "UNCHANGED", "FAILED", "BACKUPS", "REASON"});
    size_t failures = 0;
    for (const PlannedPackage& package : plan.packages) {
        const PackageOutcome outcome = OutcomeOf(package);
        packages.push_back(OutcomeToJson(package, outcome));
        table.AddRow({FileName(package.zip), std::to_string(outcome.installed),
                      std::to_string(outcome.unchanged), std::to_string(outcome.failed),
                      std::to_string(outcome.backups), outcome.reason});
        failures += outcome.reason.empty() ? 0 : 1;
    }
    if (json) {
        PrintJsonPackages(plan, packages);
        return failures;
    }
    for (const std::string& bundle : plan.bundles) {
        std::cout << "release bundle " << Escaped(bundle)
                  << ": zips that it added are installed by the next run\n";
    }
    if (table.IsEmpty()) {
        std::cout << "nothing to install: no record asks for a zip of this side\n";
    } else {
        table.Print();
    }
    return failures;
}
