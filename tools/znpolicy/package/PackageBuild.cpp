#include "PackageBuild.h"

#include <filesystem>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Manifest.h"
#include "ZipArchive.h"

namespace fs = std::filesystem;

// The zip's entries with the files behind them.
static std::vector<std::pair<std::string, std::string>> PackageFiles(const std::string& directory) {
    const std::string manifestFile = directory + "/FileList.ini";
    if (!fs::is_regular_file(manifestFile)) {
        throw std::runtime_error(manifestFile + ": no such file");
    }
    std::set<std::string> names;
    for (const ManifestPath& path : ReadManifest(manifestFile, manifestFile).paths) {
        names.insert(path.files.begin(), path.files.end());
    }
    std::vector<std::pair<std::string, std::string>> files = {{"FileList.ini", manifestFile}};
    for (const std::string& name : names) {
        const std::string file = directory + "/Common/" + name;
        if (!fs::is_regular_file(file)) {
            throw std::runtime_error(manifestFile + " lists \"" + name + "\", but there is no " +
                                     file);
        }
        files.emplace_back("Common/" + name, file);
    }
    return files;
}

PackageReport BuildPackage(const std::string& directory, const std::string& zipPath) {
    // Written beside its place and checked there, so that a bad package never stands under its
    // name.
    const fs::path target(zipPath);
    const std::string draft =
        (target.parent_path() / (".new-" + target.filename().string())).string();
    WriteZip(draft, PackageFiles(directory));
    PackageReport report = CheckPackage(draft, "");
    std::error_code error;
    if (report.HasErrors()) {
        fs::remove(draft, error);
        return report;
    }
    fs::rename(draft, target, error);
    if (error) {
        fs::remove(draft);
        throw std::runtime_error(zipPath + ": " + error.message());
    }
    return report;
}
