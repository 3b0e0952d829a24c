#include "PackageBuild.h"

#include <filesystem>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Manifest.h"
#include "ManifestFormat.h"
#include "ScratchDirectory.h"
#include "ZipArchive.h"

namespace fs = std::filesystem;

// Where in a package the file is that its manifest lists as `name`.
static std::string PathInPackage(const std::string& name, const std::string& manifestFile) {
    const fs::path place = fs::path(std::string(kPayloadDirectory) + "/" + name).lexically_normal();
    if (*place.begin() == "..") {
        throw std::runtime_error(manifestFile + " lists \"" + name +
                                 "\", which is outside the directory");
    }
    return place.string();
}

// The zip's entries with the files behind them.
static std::vector<std::pair<std::string, std::string>> PackageFiles(const std::string& directory) {
    const std::string manifestFile = directory + "/" + kManifestName;
    if (!fs::is_regular_file(manifestFile)) {
        throw std::runtime_error(manifestFile + ": no such file");
    }
    const Manifest manifest = ReadManifest(manifestFile, manifestFile);
    if (!manifest.failure.empty()) {
        throw std::runtime_error(manifest.failure);
    }
    std::map<std::string, std::string> names;  // as listed, by place
    for (const ManifestPath& path : manifest.paths) {
        for (const std::string& name : path.files) {
            names.emplace(PathInPackage(name, manifestFile), name);
        }
    }
    names.erase(kManifestName);
    std::vector<std::pair<std::string, std::string>> files = {{kManifestName, manifestFile}};
    for (const auto& [place, name] : names) {
        const std::string file = directory + "/" + place;
        if (!fs::is_regular_file(file)) {
            throw std::runtime_error(manifestFile + " lists \"" + name + "\", but there is no " +
                                     file);
        }
        files.emplace_back(place, file);
    }
    return files;
}

PackageReport BuildPackage(const std::string& directory, const std::string& zipPath) {
    const std::vector<std::pair<std::string, std::string>> files = PackageFiles(directory);
    // Checked before it gets its name, so that no bad package ever has it.
    const fs::path target(zipPath);
    const ScratchDirectory scratch(target.parent_path().string());
    const std::string draft = scratch.Path() + "/" + target.filename().string();
    WriteZip(draft, files);
    PackageReport report = CheckPackage(draft, "");
    std::error_code error;
    if (!report.HasErrors()) {
        fs::rename(draft, target, error);
    }
    if (error) {
        throw std::runtime_error(zipPath + ": " + error.message());
    }
    return report;
}
