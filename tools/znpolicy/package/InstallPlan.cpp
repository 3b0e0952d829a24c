#include "InstallPlan.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <set>
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
        FindMissing(side, records);
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
        try {
            plan_.bundles.push_back(UnpackedPackage(zip).PlanUnpacking(zip));
        } catch (const PackageError& error) {
            plan_.bundles.push_back({zip, "", {}, {error.what()}});
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
            matched_.insert(record);
            plan_.packages.push_back(PlanPackage(zip, contents, *record, side, files_));
        }
    }

    // Returns a file with the contents that `zip` has when it is installed: a bundle may bring in
    // a newer version.
    std::string ContentsOf(const std::string& zip) {
        std::string path = zip;
        ZnVcUpdate::RepairPath(path);
        std::string contents = zip;
        for (const PlannedUnpacking& bundle : plan_.bundles) {
            const std::string directory = bundle.directory + "/";
            const std::string file = scratch_.Path() + "/zip";
            if (bundle.problems.empty() && path.compare(0, directory.size(), directory) == 0 &&
                UnpackedPackage(bundle.zip).Extract(path.substr(directory.size()), file)) {
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

    // The records of this side that no zip matches, neither now nor once the bundles have brought
    // in theirs.
    void FindMissing(ZnSide side, const std::vector<ZnPackageInfo>& records) {
        std::set<std::string> arriving;
        for (const PlannedUnpacking& bundle : plan_.bundles) {
            for (const PlannedUnpacking::Entry& entry : bundle.entries) {
                arriving.insert(entry.digest);
            }
        }
        for (const ZnPackageInfo& record : records) {
            const std::string name(FieldText(record.packageName));
            if (IsOfSide(record, side) && matched_.count(&record) == 0 &&
                arriving.count(std::string(FieldText(record.sha256Hash))) == 0) {
                plan_.missing.push_back(name);
            }
        }
    }

    // A record itself does not tell its side; the names of its files do.
    static bool IsOfSide(const ZnPackageInfo& record, ZnSide side) {
        const std::string mark = SideMark(side);
        return FieldText(record.packageName).find(mark) != std::string_view::npos ||
               FieldText(record.downloadUrl).find(mark) != std::string_view::npos;
    }

    InstallPlan plan_;
    std::set<const ZnPackageInfo*> matched_;
    ScratchDirectory scratch_;
    SimulatedFiles files_;
};

}  // namespace

InstallPlan PlanInstallation(const std::string& rootDir, ZnSide side,
                             const std::vector<ZnPackageInfo>& records) {
    return Planner().Plan(rootDir, side, records);
}
