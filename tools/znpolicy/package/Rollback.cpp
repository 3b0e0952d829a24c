#include "Rollback.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "ManifestFormat.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"

static RolledBackFile RollBackFile(const UnpackedPackage& package, const std::string& name,
                                   const std::string& destination, bool force) {
    const std::string backup = destination + ".bak";
    if (access(backup.c_str(), F_OK) != 0) {
        return {destination, RollbackAction::kNoBackup, ""};
    }
    if (!force && access(destination.c_str(), F_OK) == 0) {
        const auto file = package.Look(std::string(kPayloadDirectory) + "/" + name);
        if (!file || file->digest.empty() ||
            file->digest != ZnSha256::FileSha256Value(destination)) {
            return {destination, RollbackAction::kKept, "differs from the package's file"};
        }
    }
    if (std::rename(backup.c_str(), destination.c_str()) != 0) {
        return {destination, RollbackAction::kFailed, std::strerror(errno)};
    }
    return {destination, RollbackAction::kRestored, ""};
}

const char* ActionName(RollbackAction action) {
    switch (action) {
        case RollbackAction::kRestored:
            return "restored";
        case RollbackAction::kNoBackup:
            return "no backup";
        case RollbackAction::kKept:
            return "kept";
        case RollbackAction::kFailed:
            return "failed";
    }
    return "";
}

std::vector<RolledBackFile> RollBack(const std::string& package, bool force) {
    std::error_code ignored;
    const UnpackedPackage unpacked = std::filesystem::is_directory(package, ignored)
                                         ? UnpackedPackage::InDirectory(package)
                                         : UnpackedPackage(package);
    // Paths after a failure of the manifest were not installed either.
    const Manifest manifest = unpacked.ReadManifest(package + ": " + kManifestName);
    std::vector<RolledBackFile> files;
    for (const ManifestPath& path : manifest.paths) {
        for (const std::string& name : path.files) {
            files.push_back(RollBackFile(unpacked, name, path.destination + name, force));
        }
    }
    return files;
}
