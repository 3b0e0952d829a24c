#include "RunRollback.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

#include "Interrupt.h"
#include "Journal.h"
#include "RunDirectory.h"
#include "ZnCrypto.h"

namespace {

PastRun ReadRun(const RunDirectory& directory, int number) {
    const Journal journal = Journal::Open(directory.HistoryPath(number));
    const Json& description = journal.Description();
    PastRun run;
    run.number = number;
    run.when = description.at("when");
    run.side = description.at("side");
    for (const Json& package : description.at("packages")) {
        run.packages.push_back({package.at("zip"), package.at("name"), package.at("version")});
    }
    for (const Json& file : description.at("files")) {
        run.files.push_back({file.at("destination"), file.at("result")});
    }
    return run;
}

// The run that `wanted` names, or the last one.
int FindRun(const RunDirectory& directory, const std::string& root, std::optional<int> wanted) {
    const std::vector<int> runs = directory.History();
    if (runs.empty()) {
        throw std::runtime_error(root + ": there is no run to roll back");
    }
    if (wanted && std::find(runs.begin(), runs.end(), *wanted) == runs.end()) {
        throw std::runtime_error(root + ": no run " + std::to_string(*wanted) +
                                 " in the history; see: znpolicy package history --root " + root);
    }
    return wanted.value_or(runs.back());
}

// The files that the run installed, with their backups.
std::set<std::string> DestinationsOf(const Journal& past) {
    std::set<std::string> destinations;
    for (const Json& file : past.Description().at("files")) {
        destinations.insert(file.at("destination").get<std::string>());
        destinations.insert(file.at("destination").get<std::string>() + ".bak");
    }
    return destinations;
}

// Whether the file that the journal keeps is still what it was. Its mode, times and contents can be
// changed through other links to it.
bool IsKept(const Journal& past, const Journal::Entry& entry, const std::string& digest) {
    const std::string copy = past.Directory() + "/" + entry.copy;
    return PathState::Of(copy) == entry.before &&
           (digest.empty() || ZnSha256::FileSha256Value(copy) == digest);
}

// What rolling back would destroy or could not restore: destinations that are neither as the run
// left them nor as they were before, and kept files that somebody changed.
std::vector<std::string> ChangesSince(const Journal& past) {
    std::map<std::string, const Json*> files;
    for (const Json& file : past.Description().at("files")) {
        files[file.at("destination").get<std::string>()] = &file;
    }
    const std::set<std::string> destinations = DestinationsOf(past);
    std::vector<std::string> changes;
    for (const Journal::Entry& entry : past.Entries()) {
        const auto file = files.find(entry.path);
        const bool isAsAfter = PathState::Of(entry.path) == entry.after &&
                               (file == files.end() || ZnSha256::FileSha256Value(entry.path) ==
                                                           file->second->at("sha256"));
        if (destinations.count(entry.path) != 0 && !isAsAfter && !past.IsUnchanged(entry)) {
            changes.push_back(entry.path + " was changed after the run");
        }
        const std::string digest =
            file == files.end() ? "" : file->second->at("before").get<std::string>();
        if (!entry.copy.empty() && !IsKept(past, entry, digest)) {
            changes.push_back("the kept version of " + entry.path + " was changed");
        }
    }
    return changes;
}

// A directory that would stay in the place of a file that the run installed; "" when there is none.
std::string DirectoryInPlaceOfFile(const Journal& past) {
    for (const Journal::Entry& entry : past.Entries()) {
        if (entry.after.kind == PathState::Kind::kFile &&
            PathState::Of(entry.path).kind == PathState::Kind::kDirectory) {
            return entry.path;
        }
    }
    return "";
}

// The paths that restoring `past` may change.
std::set<std::string> PathsOf(const Journal& past) {
    std::set<std::string> paths;
    for (const Journal::Entry& entry : past.Entries()) {
        paths.insert(entry.path);
    }
    return paths;
}

// Restores `past` and calls `print`; if that fails or is interrupted, restores the present state
// instead.
void RestoreOrUndo(const RunDirectory& directory, const Journal& past,
                   const std::function<void()>& print) {
    const Journal present =
        Journal::Create(directory.JournalPath(), PathsOf(past), {}, past.Description());
    try {
        past.RestoreAll();
        ThrowIfInterrupted();  // not after the result is printed
        print();
        DiscardJournal(present.Directory());
    } catch (const std::exception& error) {
        directory.RollBack(present, error.what());
        throw;
    }
}

}  // namespace

std::vector<PastRun> RunHistory(const std::string& root, int waitSeconds) {
    std::vector<PastRun> runs;
    if (RunDirectory::Exists(root)) {
        const RunDirectory directory(root, waitSeconds);
        for (const int number : directory.History()) {
            runs.push_back(ReadRun(directory, number));
        }
        std::reverse(runs.begin(), runs.end());
    }
    return runs;
}

std::vector<std::string> RecoverRun(const std::string& root, int waitSeconds) {
    const InterruptScope interrupts;
    return RunDirectory::Exists(root) ? RunDirectory(root, waitSeconds).Recover()
                                      : std::vector<std::string>();
}

void RollBackRun(const std::string& root, std::optional<int> run, bool force, int waitSeconds,
                 const std::function<void(const std::vector<std::string>&)>& print) {
    InterruptScope interrupts;
    if (!RunDirectory::Exists(root)) {
        throw std::runtime_error(root + ": there is no run to roll back");
    }
    const RunDirectory directory(root, waitSeconds);
    std::vector<std::string> restored = directory.Recover();
    const int number = FindRun(directory, root, run);
    Journal past = Journal::Open(directory.HistoryPath(number));
    const std::string outcome =
        restored.empty() ? "nothing was changed" : "only the interrupted run was rolled back";
    const std::string directoryInPlace = DirectoryInPlaceOfFile(past);
    if (!directoryInPlace.empty()) {
        throw std::runtime_error(outcome + "; " + directoryInPlace +
                                 " is now a directory; move it away first");
    }
    const std::vector<std::string> changes = ChangesSince(past);
    if (!changes.empty() && !force) {
        std::string message = outcome + "; use --force to roll back all the same";
        for (const std::string& change : changes) {
            message += "; " + change;
        }
        throw std::runtime_error(message);
    }
    // Unpacked packages, the mark and the stored description are left as later runs left them.
    const std::set<std::string> destinations = DestinationsOf(past);
    past.Retain([&](const Journal::Entry& entry) {
        return destinations.count(entry.path) != 0 || PathState::Of(entry.path) == entry.after;
    });
    for (const Journal::Entry& entry : past.Entries()) {
        restored.push_back(entry.path);
    }
    try {
        RestoreOrUndo(directory, past, [&] { print(restored); });
    } catch (const Interrupted& interrupted) {
        throw Interrupted(interrupted.Signal(), outcome);
    }
    interrupts.Complete();
    try {
        DiscardJournal(past.Directory());
    } catch (const std::runtime_error&) {
        // Rolled back nevertheless; rolling it back once more would change nothing.
    }
}
