// What an installation would do, file by file, found out without touching anything.
#pragma once

#include <string>
#include <vector>

#include "ZnPackageInfo.h"
#include "ZnSide.h"

enum class FileAction {
    kInstall,     // a new file
    kReplace,     // takes the place of a file, which is kept as ".bak"
    kUnchanged,   // is there already with the same contents
    kFail,        // cannot be installed; the package ends here
    kNotReached,  // the package has failed before
};

// The word for it in tables and JSON: "install", "replace", ...
const char* ActionName(FileAction action);

struct PlannedFile {
    std::string source;       // name in the package's Common directory
    std::string destination;  // full path
    FileAction action = FileAction::kNotReached;
    std::string reason;        // why it would fail, else ""
    std::string digest;        // SHA-256 of the package's file, "" for none or an empty one
    std::string digestBefore;  // SHA-256 of what this file finds there, "" when that is no file
    std::string digestAtEnd;   // SHA-256 of what is there after all packages, "" when unknown
    bool dropsBackup = false;  // finds an older ".bak", which would be deleted
};

// One installation of one zip: once for every record with its digest.
struct PlannedPackage {
    std::string zip;       // full path
    std::string platform;  // as the record asks for it
    std::string reason;    // why it would fail before or after its files, else ""
    std::vector<PlannedFile> files;
};

struct InstallPlan {
    std::vector<std::string> bundles;    // release bundles that would be unpacked first
    std::vector<std::string> unmatched;  // zips of the side that no record asks for
    std::vector<PlannedPackage> packages;

    // Whether anything would fail.
    bool Fails() const;
};

// Plans what ZnVcUpdate::BuildVcInstallList would do with these arguments. Throws
// std::runtime_error when it would refuse them as a whole, and when it would give the shell a path
// that means something else there.
InstallPlan PlanInstallation(const std::string& rootDir, ZnSide side,
                             const std::vector<ZnPackageInfo>& records);
