#include "Rollback.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

#include "Manifest.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"

namespace {

using FindFile = std::function<std::optional<std::string>(const std::string& name)>;

RolledBackFile RollBackFile(const FindFile& find, const std::string& source,
                            const std::string& destination, bool force) {
    const std::string backup = destination + ".bak";
    if (access(backup.c_str(), F_OK) != 0) {
        return {destination, RollbackAction::kNoBackup, ""};
    }
    if (!force && access(destination.c_str(), F_OK) == 0) {
        const auto file = find(source);
        const std::string digest = file ? ZnSha256::FileSha256Value(*file) : "";
        if (digest.empty() || digest != ZnSha256::FileSha256Value(destination)) {
            return {destination, RollbackAction::kKept, "differs from the package's file"};
        }
    }
    if (std::rename(backup.c_str(), destination.c_str()) != 0) {
        return {destination, RollbackAction::kFailed, std::strerror(errno)};
    }
    return {destination, RollbackAction::kRestored, ""};
}

std::vector<RolledBackFile> RollBackAll(const FindFile& find, const std::string& name, bool force) {
    const auto manifestFile = find("FileList.ini");
    if (!manifestFile) {
        throw std::runtime_error(name + ": there is no FileList.ini");
    }
    // Paths that the manifest does not get to were not installed either.
    const Manifest manifest = ReadManifest(*manifestFile, name + ": FileList.ini");
    std::vector<RolledBackFile> files;
    for (const ManifestPath& path : manifest.paths) {
        for (const std::string& file : path.files) {
            files.push_back(RollBackFile(find, "Common/" + file, path.destination + file, force));
        }
    }
    return files;
}

}  // namespace

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
    if (std::filesystem::is_directory(package, ignored)) {
        const FindFile find = [&](const std::string& name) -> std::optional<std::string> {
            const std::string path = package + "/" + name;
            return access(path.c_str(), F_OK) == 0 ? std::make_optional(path) : std::nullopt;
        };
        return RollBackAll(find, package, force);
    }
    UnpackedPackage folder(package);
    return RollBackAll([&](const std::string& name) { return folder.File(name); }, package, force);
}
