// What became of a planned package, judged by the files on disk after the installation.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "PackagePlan.h"

struct FileOutcome {
    const char* result;  // "installed", "unchanged" or "failed"
    std::string reason;  // why it failed, else ""
};

struct PackageOutcome {
    size_t installed = 0;
    size_t unchanged = 0;
    size_t failed = 0;
    size_t backups = 0;
    std::string reason;              // why it failed, else ""
    std::vector<FileOutcome> files;  // in the order of the plan
};

PackageOutcome OutcomeOf(const PlannedPackage& package);
