#include "PackageFolder.h"

#include <filesystem>
#include <system_error>

#include "ZnVcUpdate.h"

// Where the library unpacks a zip: beside it, under its name up to the first ".zip".
static std::string UnpackedPathOf(const std::string& zipPath) {
    std::string dir;
    std::string name;
    ZnVcUpdate::SplitFilePath(zipPath, dir, name, '/');
    std::string path = dir + "/" + name.substr(0, name.find(".zip"));
    ZnVcUpdate::RepairPath(path);
    return path;
}

// Where the library installs it from: the path up to its last ".".
static std::string InstallPathOf(const std::string& zipPath) {
    std::string path = zipPath.substr(0, zipPath.rfind('.'));
    ZnVcUpdate::RepairPath(path);
    return path;
}

PackageFolder::PackageFolder(const std::string& zipPath)
    : archive_(zipPath),
      unpackedPath_(UnpackedPathOf(zipPath)),
      installPath_(InstallPathOf(zipPath)) {}

std::optional<std::string> PackageFolder::File(const std::string& name) {
    const auto known = extracted_.find(name);
    if (known != extracted_.end()) {
        return known->second;
    }
    const ZipEntry* entry = unpackedPath_ == installPath_ ? archive_.Find(name) : nullptr;
    if (entry != nullptr && !entry->isLink && !entry->isDirectory) {
        const std::string path = scratch_.Path() + "/" + std::to_string(extracted_.size());
        archive_.Extract(name, path);
        extracted_[name] = path;
        return path;
    }
    const std::string onDisk = installPath_ + "/" + name;
    std::error_code missing;
    if (std::filesystem::is_regular_file(onDisk, missing)) {
        return onDisk;
    }
    return std::nullopt;
}
