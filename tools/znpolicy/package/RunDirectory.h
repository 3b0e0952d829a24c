// Where the runs of one root directory keep their state: the directory ".znpolicy" in it.
#pragma once

#include <string>
#include <vector>

#include "Journal.h"
#include "RunLock.h"

class RunDirectory {
   public:
    // The root directory with state that contains `path`; "" when there is none.
    static std::string RootAbove(const std::string& path);

    // Whether a run in `root` was interrupted, or is going on, as far as this user can see.
    static bool HasJournal(const std::string& root);

    // Whether there is any state in `root`. Throws std::runtime_error when that is no directory.
    static bool Exists(const std::string& root);

    // The state of the root directory `root`, created when it is missing, locked against other
    // runs. Waits up to `waitSeconds` for one that is going on. Throws std::runtime_error on
    // failure.
    RunDirectory(const std::string& root, int waitSeconds);

    const RunLock& Lock() const {
        return lock_;
    }

    // The journal of a run that is going on or was interrupted.
    std::string JournalPath() const {
        return path_ + "/journal";
    }

    // Where a run keeps its temporary files.
    std::string ScratchPath() const {
        return path_ + "/scratch";
    }

    // Removes temporary files that an interrupted run left. Restores what an interrupted run
    // changed, and removes its journal. Returns the paths that were not in their state before; none
    // when no run was interrupted. Throws std::runtime_error on failure; the journal stays then.
    std::vector<std::string> Recover() const;

    // Restores what the present run changed, which failed for `reason`, and removes its journal.
    // Throws std::runtime_error with the reason and a hint when that fails; the journal stays then.
    void RollBack(const Journal& journal, const std::string& reason) const;

    // The numbers of the runs in the history, ascending.
    std::vector<int> History() const;

    // The journal of a run in the history.
    std::string HistoryPath(int run) const;

    // Makes the journal of a successful run the newest entry of the history, and removes the oldest
    // ones beyond `keep`. When it throws std::runtime_error, the journal is still in force.
    void AddToHistory(Journal& journal, size_t keep) const;

   private:
    // Removes what a run that was killed while it removed an old entry of the history left.
    void RemoveAbandonedHistory() const;

    std::string root_;
    std::string path_;
    RunLock lock_;
};
