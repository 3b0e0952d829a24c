#include "InstallRun.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <set>

#include "FileDescriptor.h"
#include "InstallerProcess.h"
#include "Interrupt.h"
#include "Journal.h"
#include "Paths.h"
#include "Progress.h"
#include "RunDirectory.h"
#include "SyncToDisk.h"
#include "UpdateMark.h"
#include "UpdateSource.h"
#include "UtcTime.h"
#include "ZnCrypto.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kMaxMarkSize = size_t{64} << 20;

// The installation of one plan into one root directory that is locked.
class Run {
   public:
    Run(const RunOptions& options, const RunDirectory& directory, RunReport& report)
        : options_(options), directory_(directory), report_(report) {
        for (const PlannedPackage& package : report.plan.packages) {
            for (const PlannedFile& file : package.files) {
                // Of several files for one destination, the last one that changes it counts.
                const auto [known, isNew] =
                    destinations_.emplace(CanonicalPath(file.destination), &file);
                if (!isNew && file.action != FileAction::kUnchanged) {
                    known->second = &file;
                }
            }
        }
    }

    void Execute(const std::function<void()>& print) {
        Journal journal = KeepPresentState();
        try {
            Install();
            Verify();
            RestoreBackups(journal);
            RestoreDescription(journal);
            CountBackups(journal);
            Sync(journal);
            ThrowIfInterrupted();
            print();
            Commit(journal);
        } catch (const RunFailed& failure) {
            directory_.RollBack(journal, failure.what());
            throw;
        } catch (const Interrupted& interrupted) {
            directory_.RollBack(journal, interrupted.what());
            throw;
        } catch (const std::exception& error) {
            directory_.RollBack(journal, error.what());
            Fail(error.what());
        }
    }

   private:
    Journal KeepPresentState() const {
        std::set<std::string> paths = {
            VEK_MICROSERVICES_VM_SERVER_VC_UPDATED_MARK,
        };
        if (options_.terminal) {
            paths.insert(VEK_MICROSERVICES_VM_UPDATEPOLICY);
        }
        for (const auto& [destination, file] : destinations_) {
            paths.insert(destination);
            paths.insert(destination + ".bak");
        }
        std::set<std::string> newTrees;
        for (const PlannedUnpacking& bundle : report_.plan.bundles) {
            AddUnpacked(bundle, paths, newTrees);
        }
        for (const PlannedPackage& package : report_.plan.packages) {
            AddUnpacked(package.unpacking, paths, newTrees);
        }
        return Journal::Create(directory_.JournalPath(), paths, newTrees, Description());
    }

    static void AddUnpacked(const PlannedUnpacking& unpacking, std::set<std::string>& paths,
                            std::set<std::string>& newTrees) {
        const std::string directory = CanonicalPath(unpacking.directory);
        if (PathState::Of(directory).kind == PathState::Kind::kAbsent) {
            newTrees.insert(directory);
            return;
        }
        for (const PlannedUnpacking::Entry& entry : unpacking.entries) {
            paths.insert(directory + "/" + entry.path);
        }
    }

    // What the history tells about the run.
    Json Description() const {
        Json packages = Json::array();
        for (const PlannedPackage& package : report_.plan.packages) {
            packages.push_back({{"zip", FileName(package.zip)},
                                {"name", package.name},
                                {"version", package.version}});
        }
        Json files = Json::array();
        for (const auto& [destination, file] : destinations_) {
            if (Changes(*file)) {
                files.push_back({{"destination", destination},
                                 {"result", file->digestAtStart.empty() ? "installed" : "replaced"},
                                 {"before", file->digestAtStart},
                                 {"sha256", file->digestAtEnd}});
            }
        }
        return {{"when", UtcTime(std::time(nullptr))},
                {"side", options_.side == SERVER_SIDE ? "server" : "client"},
                {"packages", packages},
                {"files", files}};
    }

    static bool Changes(const PlannedFile& file) {
        return file.digestAtStart != file.digestAtEnd;
    }

    void Install() {
        const InstallerResult result = RunInstaller(
            [this] {
                std::string ignored;
                return (!options_.terminal ||
                        ZnVcUpdate::ZnVmVekJsonUpdateInfo(*options_.terminal, ignored) == 0) &&
                       ZnVcUpdate::BuildVcInstallList(options_.root, options_.side,
                                                      options_.records) == 0;
            },
            directory_.Lock());
        ThrowIfInterrupted();
        reason_ = result.reason;
        if (!result.succeeded) {
            Fail(Reason());
        }
    }

    std::string Reason() const {
        return reason_.empty() ? "the library logged no error" : reason_;
    }

    [[noreturn]] void Fail(const std::string& reason) const {
        throw RunFailed("the installation failed and was rolled back: " + reason, {reason});
    }

    // Compares every destination with the plan.
    void Verify() const {
        for (const auto& [destination, file] : destinations_) {
            const std::string problem = VerifyFile(destination, *file);
            if (!problem.empty()) {
                Fail(destination + " " + problem + ": " + Reason());
            }
        }
        VerifyMark();
        for (const PlannedPackage& package : report_.plan.packages) {
            VerifyUnpacking(package.unpacking);
        }
    }

    // What was installed from the package has been compared; the rest has its size at least.
    void VerifyUnpacking(const PlannedUnpacking& unpacking) const {
        for (const PlannedUnpacking::Entry& entry : unpacking.entries) {
            const std::string path = unpacking.directory + "/" + entry.path;
            const PathState now = PathState::Of(path);
            if (now.kind == PathState::Kind::kAbsent ||
                (!entry.digest.empty() && now.size != static_cast<off_t>(entry.size))) {
                Fail(path + " was not unpacked: " + Reason());
            }
        }
    }

    // The library ignores a mark that it cannot write.
    void VerifyMark() const {
        std::optional<std::string> expected;
        for (const PlannedPackage& package : report_.plan.packages) {
            expected = package.mark ? package.mark : expected;
        }
        const std::string path = VEK_MICROSERVICES_VM_SERVER_VC_UPDATED_MARK;
        std::string mark;
        const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
        const bool isRead = file.IsOpen() ? file.ReadAll(mark, kMaxMarkSize) : errno == ENOENT;
        if (expected && (!isRead || mark != *expected)) {
            Fail(path + " was not written");
        }
    }

    static std::string VerifyFile(const std::string& destination, const PlannedFile& file) {
        if (ZnSha256::FileSha256Value(destination) != file.digestAtEnd) {
            return "was not installed";
        }
        if (!Changes(file)) {
            return "";
        }
        struct stat source = {};
        struct stat installed = {};
        if (stat(file.sourcePath.c_str(), &source) != 0 ||
            lstat(destination.c_str(), &installed) != 0 ||
            ((source.st_mode ^ installed.st_mode) & 0777) != 0) {
            return "has the wrong mode";
        }
        return "";
    }

    // After the run, the ".bak" of a replaced file is the file as it was before the run, and every
    // other ".bak" is what it was. The library by itself deletes those of unchanged files, and
    // those of files that it installs twice.
    void RestoreBackups(const Journal& journal) const {
        for (const auto& [destination, file] : destinations_) {
            const std::string backup = destination + ".bak";
            if (destinations_.count(backup) != 0) {
                continue;  // the package brings a file of this name
            }
            const Journal::Entry& before = *journal.Find(destination);
            if (Changes(*file) && before.before.kind != PathState::Kind::kAbsent) {
                journal.RestoreAs(before, backup);
            } else {
                journal.Restore(*journal.Find(backup));
            }
        }
    }

    // The library rewrites the stored description even when it stays the same. The file as it was
    // comes back then: a rewritten one would look changed to a rollback of an earlier run.
    void RestoreDescription(const Journal& journal) const {
        const Journal::Entry* stored = journal.Find(VEK_MICROSERVICES_VM_UPDATEPOLICY);
        if (stored != nullptr && !stored->copy.empty() &&
            ZnSha256::FileSha256Value(journal.Directory() + "/" + stored->copy) ==
                ZnSha256::FileSha256Value(stored->path)) {
            journal.Restore(*stored);
        }
    }

    // Counts the backups that are really there.
    void CountBackups(const Journal& journal) {
        for (const PlannedPackage& package : report_.plan.packages) {
            report_.backups.push_back(static_cast<size_t>(
                std::count_if(package.files.begin(), package.files.end(), [&](const auto& file) {
                    const std::string destination = CanonicalPath(file.destination);
                    const PathState& before = journal.Find(destination)->before;
                    return destinations_.at(destination) == &file && Changes(file) &&
                           before.kind != PathState::Kind::kAbsent &&
                           PathState::Of(destination + ".bak") == before;
                })));
        }
    }

    void Sync(Journal& journal) const {
        const FileDescriptor mark =
            FileDescriptor::OpenRegularFile(VEK_MICROSERVICES_VM_SERVER_VC_UPDATED_MARK);
        if (mark.IsOpen() && !SyncToDisk(mark.Get())) {  // the library has synced all other files
            Fail("the update mark cannot be flushed to disk");
        }
        journal.SyncDirectories();
        journal.KeepChanges();
    }

    void Commit(Journal& journal) const {
        for (const auto& [destination, file] : destinations_) {
            if (Changes(*file)) {
                directory_.AddToHistory(journal, options_.keep);
                return;
            }
        }
        DiscardJournal(journal.Directory());
    }

    const RunOptions& options_;
    const RunDirectory& directory_;
    RunReport& report_;
    std::map<std::string, const PlannedFile*> destinations_;  // with the last file for each
    std::string reason_;                                      // the first error of the library
};

// Plans the run. Returns everything that would make it fail.
std::vector<std::string> Check(const RunOptions& options, RunReport& report) {
    const Progress progress("checking", 0);
    CheckedPlan checked =
        CheckInstallation(options.root, options.side, options.records, options.ignoreMissing);
    report.plan = std::move(checked.plan);
    return std::move(checked.problems);
}

}  // namespace

void RunInstallation(const RunOptions& options, RunReport& report,
                     const std::function<void()>& print) {
    if (!fs::is_directory(options.root + "/Package")) {
        throw std::runtime_error(options.root + "/Package: no such directory");
    }
    const RunDirectory directory(options.root, options.waitSeconds);
    report.recovered = directory.Recover();
    fs::create_directory(directory.ScratchPath());
    setenv("TMPDIR", directory.ScratchPath().c_str(), 1);  // a later run cleans up after a kill
    std::vector<std::string> problems = Check(options, report);
    if (!problems.empty()) {
        throw RunFailed("nothing was changed: the installation would fail", std::move(problems));
    }
    Run(options, directory, report).Execute(print);
}
