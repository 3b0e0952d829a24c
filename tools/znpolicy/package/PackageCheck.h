// Checking a package zip before it is installed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// What was found wrong with a package.
struct Finding {
    bool isError;      // the installer would refuse the package; else it would not notice
    std::string text;  // one sentence that names the entry or key
};

struct PackageReport {
    std::string platform;  // from the manifest, "" when it cannot be read
    size_t fileCount = 0;  // files that the manifest lists
    std::vector<Finding> findings;

    bool HasErrors() const;
};

// Checks the zip `path`: its manifest, the listed files, and what the installer does not check
// itself. `platform` is the platform that the package should be for, or "". Throws
// std::runtime_error when the zip cannot be read.
PackageReport CheckPackage(const std::string& path, const std::string& platform);
