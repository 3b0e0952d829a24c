#include "InstallCheck.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include "PackageSelection.h"
#include "PathState.h"
#include "SearchPath.h"
#include "UpdateMark.h"
#include "ZnCrypto.h"

namespace fs = std::filesystem;

namespace {

// How much an installation needs on each file system.
class SpaceNeeded {
   public:
    // Adds a file of `bytes` that is to be created at `path`, whose directories may be missing.
    void Add(const std::string& path, uint64_t bytes) {
        constexpr uint64_t kBlock = 4096;
        Need& need = NeedAt(path);
        need.bytes += (bytes / kBlock + 1) * kBlock;
    }

    bool IsOnSameFileSystem(const std::string& a, const std::string& b) {
        return &NeedAt(a) == &NeedAt(b);
    }

    std::vector<std::string> Problems() const {
        std::vector<std::string> problems;
        for (const auto& [device, need] : needs_) {
            struct statvfs status = {};
            if (statvfs(need.directory.c_str(), &status) != 0) {
                continue;
            }
            const uint64_t blocks = geteuid() == 0 ? status.f_bfree : status.f_bavail;
            const uint64_t free = blocks * status.f_frsize;
            if (free < need.bytes) {
                problems.push_back(need.directory +
                                   ": not enough space: " + std::to_string(need.bytes / 1024) +
                                   " KiB needed, " + std::to_string(free / 1024) + " KiB free");
            }
        }
        return problems;
    }

   private:
    struct Need {
        std::string directory;  // one that exists
        uint64_t bytes = 0;
    };

    Need& NeedAt(const std::string& path) {
        fs::path directory = fs::absolute(path).parent_path();
        struct stat status = {};
        while (stat(directory.c_str(), &status) != 0 && directory != directory.root_path()) {
            directory = directory.parent_path();
        }
        Need& need = needs_[status.st_dev];
        if (need.directory.empty()) {
            need.directory = directory.string();
        }
        return need;
    }

    std::map<dev_t, Need> needs_;
};

// A destination or backup that is neither a file nor absent, which the installer would move away or
// delete as a whole.
std::string DestinationProblem(const PlannedFile& file) {
    for (const std::string& path : {file.destination, file.destination + ".bak"}) {
        const PathState::Kind kind = PathState::Of(path).kind;
        if (kind == PathState::Kind::kDirectory || kind == PathState::Kind::kOther) {
            return path + (kind == PathState::Kind::kDirectory ? " is a directory"
                                                               : " is not a regular file");
        }
    }
    return "";
}

class Checker {
   public:
    Checker(const std::string& root, ZnSide side, const std::vector<ZnPackageInfo>& records)
        : root_(root), records_(records) {
        checked_.plan = PlanInstallation(root, side, records);
    }

    CheckedPlan Check(bool ignoreMissing) {
        for (const PlannedUnpacking& bundle : checked_.plan.bundles) {
            AddProblems(bundle.problems);
            NeedSpaceFor(bundle);
        }
        std::set<std::string> zips;
        for (const PlannedPackage& package : checked_.plan.packages) {
            if (zips.insert(package.zip).second) {
                AddProblems(package.unpacking.problems);
                NeedSpaceFor(package.unpacking);
            }
            CheckPackage(package);
        }
        CheckUnmatched();
        CheckMarkDirectory();
        if (!ignoreMissing) {
            CheckMissing();
        }
        if (!checked_.plan.packages.empty() && FindOnStandardSearchPath("unzip").empty()) {
            Problem("there is no unzip in " + StandardSearchPath() + "; install it");
        }
        if (checked_.problems.empty()) {
            AddProblems(space_.Problems());
        }
        return checked_;
    }

   private:
    void Problem(const std::string& text) {
        checked_.problems.push_back(text);
    }

    void AddProblems(const std::vector<std::string>& problems) {
        checked_.problems.insert(checked_.problems.end(), problems.begin(), problems.end());
    }

    void NeedSpaceFor(const PlannedUnpacking& unpacking) {
        for (const PlannedUnpacking::Entry& entry : unpacking.entries) {
            space_.Add(unpacking.directory + "/" + entry.path, entry.size);
        }
    }

    void CheckPackage(const PlannedPackage& package) {
        if (!package.reason.empty()) {
            Problem(package.zip + ": " + package.reason);
        }
        for (const PlannedFile& file : package.files) {
            const std::string problem = file.action == FileAction::kFail
                                            ? file.destination + ": " + file.reason
                                            : DestinationProblem(file);
            if (!problem.empty()) {
                Problem(package.zip + ": " + problem);
            }
            NeedSpaceFor(file);
        }
    }

    // The file itself, and what it replaces when that can only be kept by a copy, which a rollback
    // copies back.
    void NeedSpaceFor(const PlannedFile& file) {
        if (file.action == FileAction::kInstall || file.action == FileAction::kReplace) {
            space_.Add(file.destination, file.size);
        }
        for (const std::string& path : {file.destination, file.destination + ".bak"}) {
            const PathState state = PathState::Of(path);
            const std::string kept = root_ + "/.znpolicy/journal";
            space_.Add(kept, 256);  // its line in the journal
            if (state.kind == PathState::Kind::kFile && !space_.IsOnSameFileSystem(path, kept)) {
                space_.Add(kept, static_cast<uint64_t>(state.size));
                space_.Add(path, static_cast<uint64_t>(state.size));
            }
        }
    }

    // Zips that the name makes a release bundle although a record asks for the zip itself.
    void CheckUnmatched() {
        const RecordsByDigest index(records_);
        for (const std::string& zip : checked_.plan.unmatched) {
            if (IsReleaseBundle(zip) && !index.Find(ZnSha256::FileSha256Value(zip)).empty()) {
                Problem(zip +
                        ": a record asks for this zip, but \"_Release.zip\" in its path makes it a "
                        "release bundle, which is not installed; rename it");
            }
        }
    }

    void CheckMarkDirectory() {
        const std::string directory =
            fs::path(VEK_MICROSERVICES_VM_SERVER_VC_UPDATED_MARK).parent_path();
        if (!checked_.plan.packages.empty() && !fs::is_directory(directory)) {
            Problem(directory + " does not exist: the update mark cannot be written");
        }
    }

    void CheckMissing() {
        for (const std::string& name : checked_.plan.missing) {
            Problem("no zip has the digest of the record \"" + name +
                    "\"; bring the zip, or use --ignore-missing");
        }
    }

    const std::string root_;
    const std::vector<ZnPackageInfo>& records_;
    CheckedPlan checked_;
    SpaceNeeded space_;
};

}  // namespace

CheckedPlan CheckInstallation(const std::string& root, ZnSide side,
                              const std::vector<ZnPackageInfo>& records, bool ignoreMissing) {
    return Checker(root, side, records).Check(ignoreMissing);
}
