#include "InstallPlan.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "Manifest.h"
#include "PackageFolder.h"
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

std::string ParentOf(const std::string& directory) {
    return std::filesystem::path(directory + "/.").lexically_normal().parent_path().parent_path();
}

class Planner {
   public:
    InstallPlan Plan(const std::string& rootDir, ZnSide side,
                     const std::vector<ZnPackageInfo>& records) {
        const std::vector<std::string> zips = ZipsOfSide(rootDir, side);
        std::unordered_map<std::string, std::vector<const ZnPackageInfo*>> byDigest;
        for (const ZnPackageInfo& record : records) {
            byDigest[FieldText(record.sha256Hash, kDigestLength)].push_back(&record);
        }
        for (const std::string& zip : zips) {
            if (Contains(zip, "_Release.zip")) {
                PlanBundle(zip, records);
                continue;
            }
            const auto matches =
                byDigest.find(ZnSha256::FileSha256Value(zip).substr(0, kDigestLength));
            if (matches == byDigest.end()) {
                plan_.unmatched.push_back(zip);
                continue;
            }
            for (const ZnPackageInfo* record : matches->second) {
                plan_.packages.push_back(
                    PlanPackage(zip, FieldText(record->platform, sizeof record->platform), side));
            }
        }
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
        (named ? plan_.bundles : plan_.unmatched).push_back(zip);
    }

    PlannedPackage PlanPackage(const std::string& zip, const std::string& platform, ZnSide side) {
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
            PlanFiles(package);
        } catch (const std::runtime_error& error) {
            package.reason = error.what();
        }
        return package;
    }

    void PlanFiles(PlannedPackage& package) {
        PackageFolder folder(package.zip);
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
                PlannedFile file;
                file.source = name;
                file.destination = path.destination + name;
                if (!failed) {
                    PlanFile(folder, path.destination, file);
                    failed = file.action == FileAction::kFail;
                }
                package.files.push_back(file);
            }
        }
    }

    void PlanFile(PackageFolder& folder, const std::string& directory, PlannedFile& file) {
        const auto source = folder.File("Common/" + file.source);
        if (!source || ZnFile::FileSize(source->c_str()) < 1) {
            Fail(file,
                 source ? "the package's file is empty" : "the package does not have the file");
            return;
        }
        const std::string problem = DestinationProblem(directory, file.destination);
        if (!problem.empty()) {
            Fail(file, problem);
            return;
        }
        file.digest = ZnSha256::FileSha256Value(*source);
        file.digestBefore = DigestNow(file.destination);
        if (file.digestBefore.empty()) {
            file.action = FileAction::kInstall;
        } else if (file.digestBefore == file.digest) {
            file.action = FileAction::kUnchanged;
        } else {
            file.action = FileAction::kReplace;
        }
        file.dropsBackup = access((file.destination + ".bak").c_str(), F_OK) == 0;
        placed_[file.destination] = file.digest;
    }

    static void Fail(PlannedFile& file, const std::string& reason) {
        file.action = FileAction::kFail;
        file.reason = reason;
    }

    // Why nothing can be placed at `destination`; "" when it can.
    static std::string DestinationProblem(const std::string& directory,
                                          const std::string& destination) {
        namespace fs = std::filesystem;
        std::error_code ignored;
        const std::string folder = fs::path(destination).parent_path().string();
        if (!fs::exists(folder, ignored)) {
            const bool isMade = directory == folder + "/";  // the installer makes one level
            const std::string parent = ParentOf(folder);
            if (!isMade || !fs::is_directory(parent, ignored)) {
                return folder + " does not exist, nor does its parent";
            }
            return access(parent.c_str(), W_OK) == 0 ? "" : parent + " cannot be written";
        }
        if (!fs::is_directory(folder, ignored)) {
            return folder + " is not a directory";
        }
        if (access(folder.c_str(), W_OK | X_OK) != 0) {
            return folder + " cannot be written";
        }
        if (fs::is_directory(destination, ignored)) {
            return destination + " is a directory";
        }
        if (fs::is_directory(destination + ".bak", ignored)) {
            return destination + ".bak is a directory";
        }
        return "";
    }

    // What will be there when this file's turn comes: an earlier package may have placed it.
    std::string DigestNow(const std::string& destination) const {
        const auto placed = placed_.find(destination);
        return placed != placed_.end() ? placed->second : ZnSha256::FileSha256Value(destination);
    }

    InstallPlan plan_;
    std::map<std::string, std::string> placed_;
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
