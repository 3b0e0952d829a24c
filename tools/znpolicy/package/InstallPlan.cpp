#include "InstallPlan.h"

#include <unistd.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "Manifest.h"
#include "PackageSelection.h"
#include "ShellPath.h"
#include "SimulatedFiles.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace {

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The library gives the path of a zip that it unpacks to the shell as it stands.
void RequirePlainPath(const std::string& zip) {
    if (ShellChanges(zip)) {
        throw std::runtime_error(zip +
                                 ": the path has blanks or other characters that the shell would "
                                 "not take as they are; rename the file or its folder");
    }
}

class Planner {
   public:
    InstallPlan Plan(const std::string& rootDir, ZnSide side,
                     const std::vector<ZnPackageInfo>& records) {
        const std::vector<std::string> zips = ZipsOfSide(rootDir, side);
        for (const std::string& zip : zips) {
            if (IsReleaseBundle(zip)) {
                PlanBundle(zip, records);
            }
        }
        const RecordsByDigest index(records);
        for (const std::string& zip : zips) {
            if (!IsReleaseBundle(zip)) {
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
        std::vector<std::string> zips;
        std::copy_if(files.begin(), files.end(), std::back_inserter(zips),
                     [&](const std::string& path) { return IsZipOfSide(path, side); });
        if (zips.empty()) {
            throw std::runtime_error(directory + ": no zip with \"" + SideMark(side) +
                                     "\" in its path");
        }
        return zips;
    }

    void PlanBundle(const std::string& zip, const std::vector<ZnPackageInfo>& records) {
        const std::string name = FileName(zip);
        const bool named = std::any_of(records.begin(), records.end(), [&](const auto& record) {
            return FieldText(record.downloadUrl).find(name) != std::string_view::npos;
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
        const auto& matches = index.Find(ZnSha256::FileSha256Value(contents));
        if (matches.empty()) {
            plan_.unmatched.push_back(zip);
            return;
        }
        RequirePlainPath(zip);
        for (const ZnPackageInfo* record : matches) {
            plan_.packages.push_back(
                PlanPackage(zip, contents, std::string(FieldText(record->platform)), side));
        }
    }

    // A file with what `zip` holds when its turn comes: a bundle may bring it in a newer version.
    std::string ContentsOf(const std::string& zip) {
        std::string path = zip;
        ZnVcUpdate::RepairPath(path);
        std::string contents = zip;
        for (const UnpackedPackage& bundle : bundles_) {
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
            UnpackedPackage folder(zip, contents);
            PlanFiles(folder, package);
        } catch (const std::runtime_error& error) {
            package.reason = error.what();
        }
        return package;
    }

    void PlanFiles(UnpackedPackage& folder, PlannedPackage& package) {
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
                file.digestBefore = simulated_.At(file.destination).digest;
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
    void PlanFile(const std::optional<UnpackedPackage::FileFacts>& source,
                  const std::string& directory, PlannedFile& file) {
        simulated_.MakeDirectory(directory);
        if (!source || source->size < 1) {
            Fail(file,
                 source ? "the package's file is empty" : "the package does not have the file");
            return;
        }
        SimulatedFiles::Target& target = simulated_.At(file.destination);
        const bool isSame = target.exists && target.digest == source->digest;
        const bool touchesFolder = !isSame || target.hasBackup;
        const std::string backup = file.destination + ".bak";
        std::string problem = touchesFolder ? simulated_.FolderProblem(file.destination) : "";
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
                    file.digestAtEnd = simulated_.At(file.destination).digest;
                }
            }
        }
    }

    InstallPlan plan_;
    std::deque<UnpackedPackage> bundles_;
    ScratchDirectory scratch_;
    SimulatedFiles simulated_;
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
