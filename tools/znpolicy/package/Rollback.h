// Restoring what an installation replaced.
#pragma once

#include <string>
#include <vector>

struct RolledBackFile {
    std::string destination;
    const char* result;  // "restored", "no backup", "kept" or "failed"
    std::string reason;  // why it was kept or failed, else ""
};

// Renames the ".bak" of every file of a package's manifest back. `package` is the zip, or the
// directory it was unpacked into. Unless `force` is set, files that no longer have the package's
// contents are kept: the package can be installed again, but changes would be lost. So are files
// whose ".bak" the package itself installs. Throws
// std::runtime_error when the package cannot be read.
std::vector<RolledBackFile> RollBack(const std::string& package, bool force);
