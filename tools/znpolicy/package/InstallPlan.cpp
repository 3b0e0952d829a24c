#include "InstallPlan.h"

#include <unistd.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "PackageError.h"
#include "PackageSelection.h"
#include "Paths.h"
#include "ScratchDirectory.h"
#include "ShellPath.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace {

std::vector<std::string> ZipsOfSide(const std::string& rootDir, ZnSide side) {
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
        SetDigestsAtEnd();
        return plan_;
    }

   private:
    void PlanBundle(const std::string& zip, const std::vector<ZnPackageInfo>& records) {
        const std::string name = FileName(zip);
        const bool isNamed = std::any_of(records.begin(), records.end(), [&](const auto& record) {
            return FieldText(record.downloadUrl).find(name) != std::string_view::npos;
        });
        if (!isNamed) {
            plan_.unmatched.push_back(zip);
            return;
        }
        RequirePlainPath(zip);
        plan_.bundles.push_back(zip);
        try {
            bundles_.emplace_back(zip);
        } catch (const PackageError&) {
            // The installer ignores a bundle that cannot be unpacked.
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
                PlanPackage(zip, contents, std::string(FieldText(record->platform)), side, files_));
        }
    }

    // Returns a file with the contents that `zip` has when it is installed: a bundle may bring in
    // a newer version.
    std::string ContentsOf(const std::string& zip) {
        std::string path = zip;
        ZnVcUpdate::RepairPath(path);
        std::string contents = zip;
        for (const UnpackedPackage& bundle : bundles_) {
            const std::string directory = bundle.UnpackedPath() + "/";
            const std::string file = scratch_.Path() + "/zip";
            if (path.compare(0, directory.size(), directory) == 0 &&
                bundle.Extract(path.substr(directory.size()), file)) {
                contents = file;
            }
        }
        return contents;
    }

    void SetDigestsAtEnd() {
        for (PlannedPackage& package : plan_.packages) {
            for (PlannedFile& file : package.files) {
                if (file.action != FileAction::kFail && file.action != FileAction::kNotReached) {
                    file.digestAtEnd = files_.At(file.destination).digest;
                }
            }
        }
    }

    InstallPlan plan_;
    std::deque<UnpackedPackage> bundles_;
    ScratchDirectory scratch_;
    SimulatedFiles files_;
};

}  // namespace

bool InstallPlan::Fails() const {
    return std::any_of(packages.begin(), packages.end(),
                       [](const PlannedPackage& package) { return package.Fails(); });
}

InstallPlan PlanInstallation(const std::string& rootDir, ZnSide side,
                             const std::vector<ZnPackageInfo>& records) {
    return Planner().Plan(rootDir, side, records);
}
