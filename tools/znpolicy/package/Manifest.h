// The manifest of a package, FileList.ini, read in the way the installer reads it.
#pragma once

#include <set>
#include <string>
#include <vector>

// One destination directory of a manifest.
struct ManifestPath {
    std::string key;              // names the section with the file lists
    std::string destination;      // put before each file name as it stands
    std::set<std::string> files;  // in the order they are installed
};

struct Manifest {
    std::string platform;
    std::vector<ManifestPath> paths;  // in the order they are installed

    // Why the installer fails after these paths, naming section and key; "" when these are all.
    std::string failure;

    // What the installer passes over or cuts without a word, one sentence each.
    std::vector<std::string> oddities;
};

// Reads the manifest in the file `path`; `name` stands for it in messages. Throws
// std::runtime_error, naming section and key, when it gives the installer nothing to begin with.
Manifest ReadManifest(const std::string& path, const std::string& name);
