// A look at a package zip before it is installed.
#pragma once

#include <string>
#include <vector>

#include "Manifest.h"

// What was found wrong with a package.
struct Finding {
    bool isError;      // the installer would refuse the package; else it takes this on trust
    std::string text;  // one sentence that names the entry or key
};

struct PackageReport {
    std::string platform;  // from the manifest, "" when it cannot be read
    size_t fileCount = 0;  // files that the manifest lists
    std::vector<Finding> findings;

    bool HasErrors() const;
};

// Checks the zip `path`: manifest, listed files, and what the installer takes on trust. `platform`
// is the platform model to check against, "" for any. Throws std::runtime_error when the zip cannot
// be read.
PackageReport CheckPackage(const std::string& path, const std::string& platform);
