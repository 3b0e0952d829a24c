// The manifest of a package, read as the installer reads it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "ZipArchive.h"

// One destination directory of a manifest.
struct ManifestPath {
    std::string key;              // names the section with the file lists
    std::string destination;      // prefixed to each file name, without a separator
    std::set<std::string> files;  // in the order they are installed
};

struct Manifest {
    std::string platform;
    std::vector<ManifestPath> paths;  // in the order they are installed

    // Why the installer fails after these paths, with section and key; "" when it does not.
    std::string failure;

    // What the installer silently skips or cuts, one sentence each.
    std::vector<std::string> oddities;
};

// Reads the manifest in the file `path`, or in an entry of a zip; messages call it `name`. Throws
// PackageError when it cannot be read or does not even give the platform and its section.
Manifest ReadManifest(const std::string& path, const std::string& name);
Manifest ReadManifest(const ZipArchive& archive, const ZipEntry& entry, const std::string& name);
