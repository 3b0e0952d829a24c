// The journal of an installation: what every path was before that the installation may change.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Json.h"
#include "PathState.h"

// A directory with one record file and the kept files. It is complete, and on stable storage, from
// the moment it has its name; restoring from it can be interrupted and repeated any number of
// times.
// NOLINTNEXTLINE(bugprone-exception-escape): destroying JSON allocates memory
class Journal {
   public:
    struct Entry {
        std::string path;
        PathState before;
        std::string copy;     // name of the kept file in the journal; "" when there is none
        bool isTree = false;  // restored to absence with everything below
        PathState after;      // what KeepChanges() found
    };

    // Keeps the present state of `paths`, and of those directories above them that do not exist, in
    // the new journal `directory`; its parent must exist. Restoring it removes the `newTrees`,
    // which do not exist yet, with everything below. `description` is kept with it. Throws
    // std::runtime_error on failure, and leaves nothing behind then.
    static Journal Create(const std::string& directory, const std::set<std::string>& paths,
                          const std::set<std::string>& newTrees, const Json& description);

    // Opens the complete journal `directory`. Throws std::runtime_error when it cannot be read.
    static Journal Open(const std::string& directory);

    // Whether there is a complete journal `directory`. Throws std::runtime_error when that cannot
    // be determined.
    static bool Exists(const std::string& directory);

    const std::string& Directory() const {
        return directory_;
    }
    const std::vector<Entry>& Entries() const {
        return entries_;
    }
    const Json& Description() const {
        return description_;
    }

    // The entry of `path`; null when there is none.
    const Entry* Find(const std::string& path) const;

    // Whether the path of an entry is as it was before. Throws std::runtime_error when that cannot
    // be determined.
    bool IsUnchanged(const Entry& entry) const;

    // Restores one path to its state before. Throws std::runtime_error on failure.
    void Restore(const Entry& entry) const;

    // Restores the state that an entry's path had at another path. Throws std::runtime_error on
    // failure.
    void RestoreAs(const Entry& entry, const std::string& path) const;

    // Restores every path. Directories that were there come first; then all that frees space:
    // backups are renamed back, and what was absent is removed; then the rest. Children come before
    // the directories above them. Flushes the directories concerned to stable storage. Tries all
    // paths before it throws std::runtime_error for those that failed.
    void RestoreAll() const;

    // Makes the present state of all paths survive a power loss. Throws std::runtime_error on
    // failure.
    void SyncDirectories() const;

    // Reduces the journal to the paths that differ from what they were, and records what they are
    // now, with all that is in new trees. It stays in force meanwhile. Throws std::runtime_error on
    // failure.
    void KeepChanges();

    // Forgets the entries that are not `wanted`, in memory only.
    void Retain(const std::function<bool(const Entry&)>& wanted);

    // Moves the journal to `directory`, where it is no longer in force. When it throws
    // std::runtime_error, it is still where it was.
    void MoveTo(const std::string& directory);

   private:
    // Renames files back that were only renamed to ".bak", or from it, so that no copy is needed.
    void RenameBack() const;

    // The directories of all paths.
    std::set<std::string> Directories() const;

    std::string directory_;
    std::vector<Entry> entries_;  // sorted by path
    Json description_;
};

// Removes the journal `directory`. When it throws std::runtime_error, the journal is still there.
void DiscardJournal(const std::string& directory);
