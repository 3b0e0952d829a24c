#include "UnpackedPackage.h"

#include <filesystem>
#include <system_error>

#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

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

static std::optional<std::string> OnDisk(const std::string& path) {
    std::error_code missing;
    return fs::is_regular_file(path, missing) ? std::make_optional(path) : std::nullopt;
}

UnpackedPackage::UnpackedPackage(const std::string& zipPath, const std::string& contents)
    : archive_(contents),
      unpackedPath_(UnpackedPathOf(zipPath)),
      installPath_(InstallPathOf(zipPath)) {}

std::optional<std::string> UnpackedPackage::File(const std::string& name) {
    constexpr int kMostLinks = 8;
    return File(name, kMostLinks);
}

std::optional<std::string> UnpackedPackage::File(const std::string& name, int linksToFollow) {
    const ZipEntry* entry = unpackedPath_ == installPath_ ? archive_.Find(name) : nullptr;
    if (entry == nullptr || entry->isDirectory) {
        return OnDisk(installPath_ + "/" + name);
    }
    if (!entry->isLink) {
        std::string path = scratch_.Path() + "/file";
        archive_.Extract(*entry, path);
        return path;
    }
    const fs::path target = archive_.LinkTarget(*entry);
    if (target.is_absolute()) {
        return OnDisk(target.string());
    }
    if (target.empty() || linksToFollow == 0) {
        return std::nullopt;
    }
    return File((fs::path(entry->path).parent_path() / target).string(), linksToFollow - 1);
}

std::string UnpackedPackage::FirstNotUnpacked() const {
    for (const ZipEntry& entry : archive_.Entries()) {
        std::string path = unpackedPath_ + "/" + entry.path;
        const bool isOverwritten = archive_.Find(entry.path) != &entry;
        std::error_code missing;
        const bool isThere = entry.isDirectory ? fs::is_directory(path, missing)
                                               : entry.isLink || archive_.IsSame(entry, path);
        if (!isOverwritten && !isThere) {
            return path;
        }
    }
    return "";
}

std::optional<UnpackedPackage::FileFacts> UnpackedPackage::Look(const std::string& name) {
    const std::optional<std::string> file = File(name);
    if (!file) {
        return std::nullopt;
    }
    return FileFacts{ZnFile::FileSize(file->c_str()), ZnSha256::FileSha256Value(*file)};
}
