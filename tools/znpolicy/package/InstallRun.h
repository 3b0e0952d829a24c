// An installation that happens entirely or not at all.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "InstallCheck.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

struct RunOptions {
    std::string root;
    ZnSide side = SERVER_SIDE;
    std::vector<ZnPackageInfo> records;
    std::optional<int> terminal;  // whose update description the library stores first
    int waitSeconds = 0;          // for another run to end
    size_t keep = 3;              // runs in the history
    bool ignoreMissing = false;   // a record of this side without a zip is no failure
};

// What a run did, found out by looking at the disk.
struct RunReport {
    InstallPlan plan;
    std::vector<size_t> backups;  // of each package: files that it replaced and kept as ".bak"
    std::vector<std::string> recovered;  // paths restored after an interrupted run
};

// A run that changed nothing, or whose changes were rolled back.
class RunFailed : public std::runtime_error {
   public:
    RunFailed(const std::string& message, std::vector<std::string> reasons)
        : std::runtime_error(message), reasons_(std::move(reasons)) {}

    // Why, each reason by itself.
    const std::vector<std::string>& Reasons() const {
        return reasons_;
    }

   private:
    std::vector<std::string> reasons_;
};

// Rolls an interrupted run back, checks, keeps the present state, lets the library install,
// verifies, and commits. `report` gets what is found out, also by a run that fails. `print` is
// called with it before the run is committed: when it throws, as for any other failure, everything
// is rolled back. Throws RunFailed when the run would fail or has failed, Interrupted when a signal
// noted by the present InterruptScope stopped it, and std::runtime_error for everything else; all
// is as it was before then.
void RunInstallation(const RunOptions& options, RunReport& report,
                     const std::function<void()>& print);
