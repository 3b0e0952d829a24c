#include "RunDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "SyncToDisk.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMaxRun = 1'000'000'000;

// Refuses a directory that somebody else could have prepared: what is in it decides which files are
// restored.
void RequireOwn(const std::string& directory) {
    const PathState state = PathState::Of(directory);
    const bool isOwn = state.owner == geteuid() || state.owner == 0;
    if (state.kind != PathState::Kind::kDirectory || !isOwn || (state.mode & 022U) != 0) {
        throw std::runtime_error(directory +
                                 " has to be a directory that belongs to this user or root and "
                                 "that nobody else can write; check what is in it, then correct "
                                 "its owner and mode, or remove it");
    }
}

// The directory for the state of `root`, readable for its owner only: it keeps old files.
std::string MakeStateDirectory(const std::string& root) {
    std::string path = root + "/.znpolicy";
    for (const std::string& directory : {path, path + "/history"}) {
        if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
            throw std::runtime_error("cannot create " + directory + ": " + std::strerror(errno));
        }
        RequireOwn(directory);
    }
    if (!SyncDirectoryToDisk(root) || !SyncDirectoryToDisk(path)) {
        throw std::runtime_error("cannot flush " + path + " to disk: " + std::strerror(errno));
    }
    return path;
}

}  // namespace

std::string RunDirectory::RootAbove(const std::string& path) {
    fs::path root = fs::weakly_canonical(fs::absolute(path));
    while (!fs::exists(root / ".znpolicy")) {
        if (root == root.root_path()) {
            return "";
        }
        root = root.parent_path();
    }
    return root;
}

bool RunDirectory::Exists(const std::string& root) {
    if (!fs::is_directory(root)) {
        throw std::runtime_error(root + ": no such directory");
    }
    return fs::exists(root + "/.znpolicy");
}

bool RunDirectory::HasJournal(const std::string& root) {
    std::error_code unknown;
    return fs::exists(root + "/.znpolicy/journal/record", unknown);
}

RunDirectory::RunDirectory(const std::string& root, int waitSeconds)
    : root_(root), path_(MakeStateDirectory(root)), lock_(path_ + "/lock", waitSeconds) {}

std::vector<std::string> RunDirectory::Recover() const {
    std::vector<std::string> restored;
    fs::remove_all(ScratchPath());
    fs::remove_all(JournalPath() + ".incomplete");  // of a run that had changed nothing yet
    RemoveAbandonedHistory();
    if (!Journal::Exists(JournalPath())) {
        return restored;
    }
    const Journal journal = Journal::Open(JournalPath());
    for (const Journal::Entry& entry : journal.Entries()) {
        if (!journal.IsUnchanged(entry)) {
            restored.push_back(entry.path);
        }
    }
    journal.RestoreAll();
    DiscardJournal(JournalPath());
    return restored;
}

void RunDirectory::RollBack(const Journal& journal, const std::string& reason) const {
    try {
        journal.RestoreAll();
        DiscardJournal(journal.Directory());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(reason + "; rolling back failed, too: " + error.what() +
                                 "; correct this, then run: znpolicy package recover --root " +
                                 root_);
    }
}

void RunDirectory::RemoveAbandonedHistory() const {
    for (const auto& entry : fs::directory_iterator(path_ + "/history")) {
        if (entry.path().extension() == ".incomplete") {
            fs::remove_all(entry.path());
        }
    }
}

std::vector<int> RunDirectory::History() const {
    std::vector<int> runs;
    for (const auto& entry : fs::directory_iterator(path_ + "/history")) {
        const std::string name = entry.path().filename().string();
        int run = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), run);
        if (error == std::errc() && name == std::to_string(run) && run > 0 && run < kMaxRun) {
            runs.push_back(run);
        }
    }
    std::sort(runs.begin(), runs.end());
    return runs;
}

std::string RunDirectory::HistoryPath(int run) const {
    return path_ + "/history/" + std::to_string(run);
}

void RunDirectory::AddToHistory(Journal& journal, size_t keep) const {
    std::vector<int> runs = History();
    runs.push_back(runs.empty() ? 1 : runs.back() + 1);
    journal.MoveTo(HistoryPath(runs.back()));
    for (size_t i = 0; i + keep < runs.size(); ++i) {
        try {
            DiscardJournal(HistoryPath(runs[i]));
        } catch (const std::runtime_error&) {
            // The run has succeeded; the next one tries again.
        }
    }
}
