// Putting back what an installation replaced.
#pragma once

#include <string>
#include <vector>

enum class RollbackAction {
    kRestored,  // the ".bak" is back in its place
    kNoBackup,  // nothing was replaced, or it has been put back already
    kKept,      // the file is not the package's any more: somebody changed it since
    kFailed,
};

// The word for it in tables and JSON: "restored", "no backup", ...
const char* ActionName(RollbackAction action);

struct RolledBackFile {
    std::string destination;
    RollbackAction action;
    std::string reason;  // why it failed or was kept, else ""
};

// Puts the ".bak" of every file of a package's manifest back in its place. `package` is the zip, or
// the directory it was unpacked into. A file that no longer has the package's contents is kept,
// unless `force` is set: what is in the package can be installed again, what is not would be lost.
// Throws std::runtime_error when the manifest cannot be read.
std::vector<RolledBackFile> RollBack(const std::string& package, bool force);
