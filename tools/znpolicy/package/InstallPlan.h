// What an installation would do, without changing anything.
#pragma once

#include <string>
#include <vector>

#include "PackagePlan.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

struct InstallPlan {
    std::vector<PlannedUnpacking> bundles;  // release bundles, which are unpacked first
    std::vector<std::string> unmatched;     // zips of the side that no record asks for
    std::vector<std::string> missing;       // names of this side's records that no zip matches
    std::vector<PlannedPackage> packages;
};

// Plans what ZnVcUpdate::BuildVcInstallList would do with these arguments. Throws
// std::runtime_error when it would refuse all of them, or run unzip with a path that the shell
// would interpret.
InstallPlan PlanInstallation(const std::string& rootDir, ZnSide side,
                             const std::vector<ZnPackageInfo>& records);
