#include "InstallOutcome.h"

#include <unistd.h>

#include "ZnCrypto.h"

// Whether the destination has the package's file, or the one that a later package replaced it with.
static bool IsInPlace(const PlannedFile& file) {
    const std::string now = ZnSha256::FileSha256Value(file.destination);
    return !now.empty() && (now == file.digest || now == file.digestAtEnd);
}

static bool HasBackup(const PlannedFile& file) {
    const std::string backup = file.destination + ".bak";
    return file.digestBefore.empty()
               ? file.action == FileAction::kReplace && access(backup.c_str(), F_OK) == 0
               : ZnSha256::FileSha256Value(backup) == file.digestBefore;
}

static std::string WhyNotInPlace(const PlannedFile& file) {
    if (!file.reason.empty()) {
        return file.reason;
    }
    return file.action == FileAction::kNotReached
               ? "not reached"
               : "not installed; the library's log says why (--log-level error)";
}

static void AddFile(const PlannedFile& file, PackageOutcome& outcome) {
    if (!IsInPlace(file)) {
        ++outcome.failed;
        outcome.files.push_back({"failed", WhyNotInPlace(file)});
        if (outcome.reason.empty()) {
            outcome.reason = file.destination + ": " + outcome.files.back().reason;
        }
    } else if (file.digestBefore == file.digest) {
        ++outcome.unchanged;
        outcome.files.push_back({"unchanged", ""});
    } else {
        ++outcome.installed;
        outcome.backups += HasBackup(file) ? 1 : 0;
        outcome.files.push_back({"installed", ""});
    }
}

PackageOutcome OutcomeOf(const PlannedPackage& package) {
    PackageOutcome outcome;
    for (const PlannedFile& file : package.files) {
        AddFile(file, outcome);
    }
    if (outcome.reason.empty()) {
        outcome.reason = package.reason;
    }
    return outcome;
}
