// Restoring what an installation replaced.
#pragma once

#include <string>
#include <vector>

enum class RollbackAction {
    kRestored,  // the ".bak" is back in its place
    kNoBackup,  // nothing was replaced, or it has been restored already
    kKept,      // the file was changed since the installation
    kFailed,
};

// The name of the action in tables and JSON.
const char* ActionName(RollbackAction action);

struct RolledBackFile {
    std::string destination;
    RollbackAction action;
    std::string reason;  // why it was kept or failed, else ""
};

// Renames the ".bak" of every file of a package's manifest back. `package` is the zip, or the
// directory it was unpacked into. Unless `force` is set, files that no longer have the package's
// contents are kept: the package can be installed again, but changes would be lost. Throws
// std::runtime_error when the package cannot be read.
std::vector<RolledBackFile> RollBack(const std::string& package, bool force);
