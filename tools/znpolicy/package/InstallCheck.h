// Finding out, before anything is changed, whether an installation would fail.
#pragma once

#include <string>
#include <vector>

#include "InstallPlan.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

struct CheckedPlan {
    InstallPlan plan;

    std::vector<std::string> problems;  // everything that would make the installation fail
};

// Plans the installation and reads every zip that it would unpack to its end: CRC, encryption,
// compression, links and sizes; also looks for unzip and for enough free space on every file system
// concerned. A record of this side without a zip is a problem unless `ignoreMissing` is set.
// Changes nothing. Throws std::runtime_error when there is nothing to plan.
CheckedPlan CheckInstallation(const std::string& root, ZnSide side,
                              const std::vector<ZnPackageInfo>& records, bool ignoreMissing);
