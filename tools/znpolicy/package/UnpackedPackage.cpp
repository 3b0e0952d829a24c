#include "UnpackedPackage.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "ManifestFormat.h"
#include "PackageError.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

// Where the library unpacks a zip: next to it, under its name up to the first ".zip".
static std::string UnpackedPathOf(const std::string& zipPath) {
    std::string directory;
    std::string name;
    ZnVcUpdate::SplitFilePath(zipPath, directory, name, '/');
    std::string path = directory + "/" + name.substr(0, name.find(".zip"));
    ZnVcUpdate::RepairPath(path);
    return path;
}

// Where the library installs it from: the path up to its last ".".
static std::string InstallPathOf(const std::string& zipPath) {
    std::string path = zipPath.substr(0, zipPath.rfind('.'));
    ZnVcUpdate::RepairPath(path);
    return path;
}

UnpackedPackage::UnpackedPackage(const std::string& zipPath, const std::string& contents)
    : archive_(contents),
      unpackedPath_(UnpackedPathOf(zipPath)),
      installPath_(InstallPathOf(zipPath)) {}

UnpackedPackage UnpackedPackage::InDirectory(const std::string& directory) {
    UnpackedPackage package;
    package.installPath_ = directory;
    return package;
}

std::optional<UnpackedPackage::Source> UnpackedPackage::Find(const std::string& name,
                                                             int linksToFollow) const {
    const ZipEntry* entry =
        archive_ && unpackedPath_ == installPath_ ? archive_->Find(name) : nullptr;
    fs::path file = fs::path(installPath_) / name;
    if (entry != nullptr && entry->isLink) {
        const fs::path target = archive_->LinkTarget(*entry);
        if (target.empty() || linksToFollow == 0) {
            return std::nullopt;
        }
        if (target.is_relative()) {
            return Find((fs::path(entry->path).parent_path() / target).string(), linksToFollow - 1);
        }
        file = target;
    } else if (entry != nullptr && !entry->isDirectory) {
        return Source{entry, ""};
    }
    std::error_code ignored;
    return fs::is_regular_file(file, ignored) ? std::make_optional(Source{nullptr, file.string()})
                                              : std::nullopt;
}

Manifest UnpackedPackage::ReadManifest(const std::string& name) const {
    const std::optional<Source> source = Find(kManifestName);
    if (!source) {
        throw PackageError("there is no " + installPath_ + "/" + kManifestName);
    }
    return source->entry != nullptr ? ::ReadManifest(*archive_, *source->entry, name)
                                    : ::ReadManifest(source->path, name);
}

std::optional<FileFacts> UnpackedPackage::Look(const std::string& name) const {
    const std::optional<Source> source = Find(name);
    if (!source) {
        return std::nullopt;
    }
    if (source->entry != nullptr) {
        return FactsOf(*source->entry);
    }
    return FileFacts{static_cast<uint64_t>(ZnFile::FileSize(source->path.c_str())),
                     ZnSha256::FileSha256Value(source->path)};
}

const FileFacts& UnpackedPackage::FactsOf(const ZipEntry& entry) const {
    const auto known = facts_.find(&entry);
    return known != facts_.end() ? known->second
                                 : facts_.emplace(&entry, archive_->Look(entry)).first->second;
}

PlannedUnpacking UnpackedPackage::PlanUnpacking(const std::string& zipPath) const {
    PlannedUnpacking unpacking = {zipPath, unpackedPath_, {}, {}};
    for (const ZipEntry& entry : archive_->Entries()) {
        std::string problem =
            entry.problem.empty() ? "" : zipPath + ": " + entry.name + ": " + entry.problem;
        PlannedUnpacking::Entry planned = {entry.path, 0, ""};
        try {
            if (problem.empty() && entry.isLink && archive_->LinkTarget(entry).empty()) {
                problem = zipPath + ": " + entry.name + ": the link has no usable target";
            } else if (problem.empty() && !entry.isDirectory) {
                planned.size = FactsOf(entry).size;
                planned.digest = FactsOf(entry).digest;
            }
        } catch (const PackageError& error) {
            problem = error.what();
        }
        if (!IsOverwritten(entry)) {
            unpacking.entries.push_back(std::move(planned));
        }
        if (!problem.empty()) {
            unpacking.problems.push_back(problem);
        }
    }
    return unpacking;
}

bool UnpackedPackage::Extract(const std::string& name, const std::string& path) const {
    const ZipEntry* entry = archive_->Find(name);
    if (entry == nullptr || entry->isLink || entry->isDirectory) {
        return false;
    }
    archive_->Extract(*entry, path);
    return true;
}

std::string UnpackedPackage::FirstNotUnpacked() const {
    for (const ZipEntry& entry : archive_->Entries()) {
        std::string path = unpackedPath_ + "/" + entry.path;
        if (!IsOverwritten(entry) && !IsUnpacked(entry, path)) {
            return path;
        }
    }
    return "";
}

bool UnpackedPackage::IsOverwritten(const ZipEntry& entry) const {
    return archive_->Find(entry.path) != &entry;
}

bool UnpackedPackage::IsUnpacked(const ZipEntry& entry, const std::string& path) const {
    std::error_code missing;
    if (entry.isDirectory) {
        return fs::is_directory(path, missing);
    }
    if (entry.isLink) {
        return fs::read_symlink(path, missing) == archive_->LinkTarget(entry);
    }
    return FactsOf(entry).digest == ZnSha256::FileSha256Value(path);
}
