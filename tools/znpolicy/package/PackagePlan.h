// What the installation of one package would do, file by file, without changing anything.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SimulatedFiles.h"
#include "UnpackedPackage.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

enum class FileAction {
    kInstall,     // creates the file
    kReplace,     // replaces a file, which is kept as ".bak"
    kUnchanged,   // the destination has the same contents already
    kFail,        // cannot be installed; the package ends here
    kNotReached,  // follows a file that fails
};

// The name of the action in tables and JSON.
const char* ActionName(FileAction action);

struct PlannedFile {
    std::string source;       // name in the package's Common directory
    std::string sourcePath;   // its full path once the package is unpacked
    std::string destination;  // full path
    FileAction action = FileAction::kNotReached;
    std::string reason;         // why it would fail, else ""
    uint64_t size = 0;          // of the package's file
    std::string digest;         // SHA-256 of the package's file; "" when that is missing or empty
    std::string digestAtStart;  // SHA-256 of the file there before all packages; "" for none
    std::string digestAtEnd;    // SHA-256 of the file there after all packages; "" when unknown
    bool dropsBackup = false;   // an older ".bak" would be deleted
};

// One installation of one zip: there is one for every record with the digest of the zip.
struct PlannedPackage {
    std::string zip;   // full path
    std::string name;  // package name and version, as the record gives them
    std::string version;
    std::string platform;  // the one that the record asks for
    std::string reason;    // why it would fail before or after its files, else ""
    PlannedUnpacking unpacking;
    std::vector<PlannedFile> files;
    std::optional<std::string> mark;  // the update mark that it leaves, if it writes one
};

// Plans the installation of the zip `zip`, whose contents are in the file `contents`, for one
// record. `files` are the destinations as the packages before it leave them, and afterwards as this
// one does.
PlannedPackage PlanPackage(const std::string& zip, const std::string& contents,
                           const ZnPackageInfo& record, ZnSide side, SimulatedFiles& files);
