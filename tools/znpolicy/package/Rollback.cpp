#include "Rollback.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>

#include "ManifestFormat.h"
#include "PackageError.h"
#include "Paths.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"

// Why a file is not known to be the package's, or "".
static std::string Difference(const UnpackedPackage& package, const std::string& name,
                              const std::string& destination) {
    try {
        const auto file = package.Look(std::string(kPayloadDirectory) + "/" + name);
        const bool isSame =
            file && !file->digest.empty() && file->digest == ZnSha256::FileSha256Value(destination);
        return isSame ? "" : "differs from the package's file";
    } catch (const PackageError& error) {
        return error.what();
    }
}

static RolledBackFile RollBackFile(const UnpackedPackage& package, const std::string& name,
                                   const std::string& destination, bool force,
                                   const std::set<std::string>& destinations) {
    const std::string backup = destination + ".bak";
    if (access(backup.c_str(), F_OK) != 0) {
        return {destination, "no backup", ""};
    }
    if (destinations.count(CanonicalPath(backup)) != 0) {
        return {destination, "kept", "its .bak is a file of the package"};
    }
    if (!force && access(destination.c_str(), F_OK) == 0) {
        const std::string difference = Difference(package, name, destination);
        if (!difference.empty()) {
            return {destination, "kept", difference};
        }
    }
    if (std::rename(backup.c_str(), destination.c_str()) != 0) {
        return {destination, "failed", std::strerror(errno)};
    }
    return {destination, "restored", ""};
}

static std::set<std::string> DestinationsOf(const Manifest& manifest) {
    std::set<std::string> destinations;
    for (const ManifestPath& path : manifest.paths) {
        for (const std::string& name : path.files) {
            destinations.insert(CanonicalPath(path.destination + name));
        }
    }
    return destinations;
}

std::vector<RolledBackFile> RollBack(const std::string& package, bool force) {
    std::error_code ignored;
    const UnpackedPackage unpacked = std::filesystem::is_directory(package, ignored)
                                         ? UnpackedPackage::InDirectory(package)
                                         : UnpackedPackage(package);
    // Paths after a failure of the manifest were not installed either.
    const Manifest manifest = unpacked.ReadManifest(package + ": " + kManifestName);
    const std::set<std::string> destinations = DestinationsOf(manifest);
    std::vector<RolledBackFile> files;
    for (const ManifestPath& path : manifest.paths) {
        for (const std::string& name : path.files) {
            files.push_back(
                RollBackFile(unpacked, name, path.destination + name, force, destinations));
        }
    }
    return files;
}
