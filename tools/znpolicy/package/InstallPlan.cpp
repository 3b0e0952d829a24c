#include "InstallPlan.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "ForeseenFiles.h"
#include "Manifest.h"
#include "PackageFolder.h"
#include "ShellPath.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace {

// Digests are compared in their first 64 characters.
constexpr size_t kDigestLength = 64;

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string FieldText(const char* field, size_t size) {
    return {field, strnlen(field, size)};
}

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool IsBundle(const std::string& zip) {
    return Contains(zip, "_Release.zip");
}

// The library gives the path of a zip that it unpacks to the shell as it stands.
void RequirePlainPath(const std::string& zip) {
    if (ShellChanges(zip)) {
        throw std::runtime_error(zip +
                                 ": the path has blanks or other characters that the shell would "
                                 "not take as they are; rename the file or its folder");
    }
}

using RecordsByDigest = std::unordered_map<std::string, std::vector<const ZnPackageInfo*>>;

RecordsByDigest IndexByDigest(const std::vector<ZnPackageInfo>& records) {
    RecordsByDigest index;
    for (const ZnPackageInfo& record : records) {
        index[FieldText(record.sha256Hash, kDigestLength)].push_back(&record);
    }
    return index;
}

class Planner {
   public:
    InstallPlan Plan(const std::string& rootDir, ZnSide side,
                     const std::vector<ZnPackageInfo>& records) {
        const std::vector<std::string> zips = ZipsOfSide(rootDir, side);
        for (const std::string& zip : zips) {
            if (IsBundle(zip)) {
                PlanBundle(zip, records);
            }
        }
        const RecordsByDigest index = IndexByDigest(records);
        for (const std::string& zip : zips) {
            if (!IsBundle(zip)) {
                PlanZip(zip, index, side);
            }
        }
        NoteTheEnd();
        return plan_;
    }

   private:
    static std::vector<std::string> ZipsOfSide(const std::string& rootDir, ZnSide side) {
        const std::string directory = rootDir + "/Package/";
        if (access(directory.c_str(), F_OK) != 0) {
            throw std::runtime_error(directory + ": no such directory");
        }
        std::vector<std::string> files;
        ZnFile::ScanDirectoriesFiles(directory, files);
        const char* mark = side == SERVER_SIDE ? "_Server" : "_Client";
        std::vector<std::string> zips;
        for (const std::string& path : files) {
            if (Contains(path, mark) && Contains(path, ".zip")) {
                zips.push_back(path);
            }
        }
        if (zips.empty()) {
            throw std::runtime_error(directory + ": no zip with \"" + mark + "\" in its path");
        }
        return zips;
    }

    void PlanBundle(const std::string& zip, const std::vector<ZnPackageInfo>& records) {
        const std::string name = FileName(zip);
        const bool named = std::any_of(records.begin(), records.end(), [&](const auto& record) {
            return Contains(FieldText(record.downloadUrl, sizeof record.downloadUrl), name);
        });
        if (!named) {
            plan_.unmatched.push_back(zip);
            return;
        }
        RequirePlainPath(zip);
        plan_.bundles.push_back(zip);
        try {
            bundles_.emplace_back(zip);
        } catch (const std::runtime_error&) {
            // Not unpacked then; the installer goes on all the same.
        }
    }

    void PlanZip(const std::string& zip, const RecordsByDigest& index, ZnSide side) {
        const std::string contents = ContentsOf(zip);
        const auto matches =
            index.find(ZnSha256::FileSha256Value(contents).substr(0, kDigestLength));
        if (matches == index.end()) {
            plan_.unmatched.push_back(zip);
            return;
        }
        RequirePlainPath(zip);
        for (const ZnPackageInfo* record : matches->second) {
            plan_.packages.push_back(PlanPackage(
                zip, contents, FieldText(record->platform, sizeof record->platform), side));
        }
    }

    // A file with what `zip` holds when its turn comes: a bundle may bring it in a newer version.
    std::string ContentsOf(const std::string& zip) {
        std::string path = zip;
        ZnVcUpdate::RepairPath(path);
        std::string contents = zip;
        for (const PackageFolder& bundle : bundles_) {
            const std::string folder = bundle.UnpackedPath() + "/";
            if (path.compare(0, folder.size(), folder) != 0) {
                continue;
            }
            const ZipEntry* entry = bundle.Archive().Find(path.substr(folder.size()));
            if (entry != nullptr && !entry->isLink && !entry->isDirectory) {
                contents = scratch_.Path() + "/zip";
                bundle.Archive().Extract(*entry, contents);
            }
        }
        return contents;
    }

    PlannedPackage PlanPackage(const std::string& zip, const std::string& contents,
                               const std::string& platform, ZnSide side) {
        PlannedPackage package;
        package.zip = zip;
        package.platform = platform;
        const std::string local = ZnVcUpdate::GetModelPlatform(side);
        if (platform.size() < 2 || local.size() < 2 || platform != local) {
            package.reason = "this machine's platform is \"" + local +
                             "\", the record asks for \"" + platform + "\"";
            return package;
        }
        try {
            PackageFolder folder(zip, contents);
            PlanFiles(folder, package);
        } catch (const std::runtime_error& error) {
            package.reason = error.what();
        }
        return package;
    }

    void PlanFiles(PackageFolder& folder, PlannedPackage& package) {
        const auto manifestFile = folder.File("FileList.ini");
        if (!manifestFile) {
            throw std::runtime_error(folder.InstallPath() + "/FileList.ini will not be there");
        }
        const Manifest manifest =
            ReadManifest(*manifestFile, FileName(package.zip) + ": FileList.ini");
        if (manifest.platform.compare(0, package.platform.size(), package.platform) != 0) {
            throw std::runtime_error("the manifest is for platform \"" + manifest.platform +
                                     "\", the record asks for \"" + package.platform + "\"");
        }
        bool failed = false;
        for (const ManifestPath& path : manifest.paths) {
            for (const std::string& name : path.files) {
                const auto source = folder.Look("Common/" + name);
                PlannedFile file;
                file.source = name;
                file.destination = path.destination + name;
                file.digest = source && source->size > 0 ? source->digest : "";
                file.digestBefore = foreseen_.At(file.destination).digest;
                if (!failed) {
                    PlanFile(source, path.destination, file);
                    failed = file.action == FileAction::kFail;
                }
                package.files.push_back(file);
            }
        }
        package.reason = failed ? "" : manifest.failure;
    }

    // Goes through the installer's steps for one file.
    void PlanFile(const std::optional<PackageFolder::FileFacts>& source,
                  const std::string& directory, PlannedFile& file) {
        foreseen_.MakeDirectory(directory);
        if (!source || source->size < 1) {
            Fail(file,
                 source ? "the package's file is empty" : "the package does not have the file");
            return;
        }
        ForeseenFiles::Target& target = foreseen_.At(file.destination);
        const bool isSame = target.exists && target.digest == source->digest;
        const bool touchesFolder = !isSame || target.hasBackup;
        const std::string backup = file.destination + ".bak";
        std::string problem = touchesFolder ? foreseen_.FolderProblem(file.destination) : "";
        std::error_code ignored;
        if (problem.empty() && target.hasBackup && std::filesystem::is_directory(backup, ignored)) {
            problem = backup + " is a directory";
        }
        if (!problem.empty()) {
            Fail(file, problem);
            return;
        }
        file.dropsBackup = target.hasBackup;
        if (isSame) {
            file.action = FileAction::kUnchanged;
            target.hasBackup = false;
        } else {
            file.action = target.exists ? FileAction::kReplace : FileAction::kInstall;
            target = {true, source->digest, target.exists};
        }
    }

    static void Fail(PlannedFile& file, const std::string& reason) {
        file.action = FileAction::kFail;
        file.reason = reason;
    }

    void NoteTheEnd() {
        for (PlannedPackage& package : plan_.packages) {
            for (PlannedFile& file : package.files) {
                if (file.action != FileAction::kFail && file.action != FileAction::kNotReached) {
                    file.digestAtEnd = foreseen_.At(file.destination).digest;
                }
            }
        }
    }

    InstallPlan plan_;
    std::deque<PackageFolder> bundles_;
    ScratchDirectory scratch_;
    ForeseenFiles foreseen_;
};

}  // namespace

const char* ActionName(FileAction action) {
    switch (action) {
        case FileAction::kInstall:
            return "install";
        case FileAction::kReplace:
            return "replace";
        case FileAction::kUnchanged:
            return "unchanged";
        case FileAction::kFail:
            return "fail";
        case FileAction::kNotReached:
            return "not reached";
    }
    return "";
}

bool InstallPlan::Fails() const {
    return std::any_of(packages.begin(), packages.end(), [](const PlannedPackage& package) {
        return !package.reason.empty() ||
               std::any_of(package.files.begin(), package.files.end(), [](const PlannedFile& file) {
                   return file.action == FileAction::kFail;
               });
    });
}

InstallPlan PlanInstallation(const std::string& rootDir, ZnSide side,
                             const std::vector<ZnPackageInfo>& records) {
    return Planner().Plan(rootDir, side, records);
}
