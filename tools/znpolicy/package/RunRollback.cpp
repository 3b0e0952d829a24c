#include "RunRollback.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "Interrupt.h"
#include "Journal.h"
#include "RunDirectory.h"
#include "ZnCrypto.h"

namespace fs = std::filesystem;

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

// What rolling back would destroy: files that are neither as the run left them nor as they were
// before, and kept files that somebody changed.
std::vector<std::string> ChangesSince(const Journal& journal) {
    std::vector<std::string> changes;
    for (const Json& file : journal.Description().at("files")) {
        const std::string path = file.at("destination");
        const Journal::Entry* const entry = journal.Find(path);
        if (entry == nullptr) {
            continue;
        }
        const bool isAsInstalled = ZnSha256::FileSha256Value(path) == file.at("sha256");
        if (!isAsInstalled && PathState::Of(path) != entry->before) {
            changes.push_back(path + " was changed after the run");
        }
        const PathState kept = PathState::Of(journal.Directory() + "/" + entry->copy);
        if (!entry->copy.empty() && (kept.size != entry->before.size ||
                                     kept.modified.tv_sec != entry->before.modified.tv_sec)) {
            changes.push_back("the kept version of " + path + " was changed");
        }
    }
    return changes;
}

// The paths that restoring `past` may change, as far as they exist.
std::set<std::string> PathsOf(const Journal& past) {
    std::set<std::string> paths;
    for (const Journal::Entry& entry : past.Entries()) {
        paths.insert(entry.path);
        if (entry.isTree && fs::is_directory(entry.path)) {
            for (const auto& below : fs::recursive_directory_iterator(entry.path)) {
                paths.insert(below.path());
            }
        }
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
        print();
        ThrowIfInterrupted();
        DiscardJournal(present.Directory());
    } catch (...) {
        present.RestoreAll();
        DiscardJournal(present.Directory());
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
    directory.Recover();
    const int number = FindRun(directory, root, run);
    const Journal past = Journal::Open(directory.HistoryPath(number));
    const std::vector<std::string> changes = ChangesSince(past);
    if (!changes.empty() && !force) {
        std::string message = "nothing was changed; use --force to roll back all the same";
        for (const std::string& change : changes) {
            message += "; " + change;
        }
        throw std::runtime_error(message);
    }
    std::vector<std::string> restored;
    for (const PastRun::File& file : ReadRun(directory, number).files) {
        restored.push_back(file.destination);
    }
    RestoreOrUndo(directory, past, [&] { print(restored); });
    interrupts.Complete();
    try {
        DiscardJournal(past.Directory());
    } catch (const std::runtime_error&) {
        // Rolled back nevertheless; rolling it back once more would change nothing.
    }
}
