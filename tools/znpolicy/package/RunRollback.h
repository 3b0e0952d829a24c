// Restoring the state before an earlier run.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// One run in the history of a root directory.
struct PastRun {
    struct File {
        std::string destination;
        std::string result;  // "installed" or "replaced"
    };
    struct Package {
        std::string zip;
        std::string name;
        std::string version;
    };

    int number = 0;
    std::string when;  // UTC, ISO 8601
    std::string side;
    std::vector<Package> packages;
    std::vector<File> files;
};

// The last runs in `root`, the newest first. Throws std::runtime_error when the history cannot be
// read, or when another run is going on for longer than `waitSeconds`.
std::vector<PastRun> RunHistory(const std::string& root, int waitSeconds);

// Restores what an interrupted run left half-done. Returns the paths that were restored; none when
// there is nothing to recover. Throws like RunHistory.
std::vector<std::string> RecoverRun(const std::string& root, int waitSeconds);

// Restores what `run`, or the last run, changed, and removes it from the history. Happens entirely
// or not at all. A destination that was changed since the run makes it fail, unless `force` is set.
// `print` gets the paths that were restored, also those of an interrupted run before; when it
// throws, everything is as it was before. Throws like RunHistory, and Interrupted when a signal
// stopped it.
void RollBackRun(const std::string& root, std::optional<int> run, bool force, int waitSeconds,
                 const std::function<void(const std::vector<std::string>&)>& print);
