#include "PackagePlan.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "ManifestFormat.h"
#include "PackageError.h"
#include "PackageSelection.h"
#include "Paths.h"
#include "UnpackedPackage.h"
#include "ZnSysInfo.h"
#include "ZnVcUpdate.h"

static void Fail(PlannedFile& file, const std::string& reason) {
    file.action = FileAction::kFail;
    file.reason = reason;
}

// Why the installer could not delete the old backup and write the file, or "".
static std::string WriteProblem(const std::string& destination, bool changes, bool hasBackup,
                                const SimulatedFiles& files) {
    const std::string backup = destination + ".bak";
    std::string problem = changes || hasBackup ? files.WriteProblem(destination) : "";
    std::error_code ignored;
    if (problem.empty() && hasBackup && std::filesystem::is_directory(backup, ignored)) {
        problem = backup + " is a directory";
    }
    return problem;
}

// Follows the installer's steps for one file.
static void PlanFile(const std::optional<FileFacts>& source, const std::string& directory,
                     PlannedFile& file, SimulatedFiles& files) {
    files.MakeDirectory(directory);
    if (!source || source->size < 1) {
        Fail(file, source ? "the package's file is empty" : "the package does not have the file");
        return;
    }
    SimulatedFiles::Target& target = files.At(file.destination);
    const bool isSame = target.exists && target.digest == source->digest;
    const std::string problem = WriteProblem(file.destination, !isSame, target.hasBackup, files);
    if (!problem.empty()) {
        Fail(file, problem);
        return;
    }
    file.dropsBackup = target.hasBackup && !isSame;
    if (isSame) {
        file.action = FileAction::kUnchanged;
        target.hasBackup = false;
    } else {
        file.action = target.exists ? FileAction::kReplace : FileAction::kInstall;
        target = {true, source->digest, target.exists, target.digestAtStart};
    }
}

static void PlanFiles(const UnpackedPackage& unpacked, PlannedPackage& package,
                      SimulatedFiles& files) {
    const Manifest manifest = unpacked.ReadManifest(FileName(package.zip) + ": " + kManifestName);
    if (manifest.platform.compare(0, package.platform.size(), package.platform) != 0) {
        throw PackageError("the manifest is for platform \"" + manifest.platform +
                           "\", the record asks for \"" + package.platform + "\"");
    }
    bool failed = false;
    for (const ManifestPath& path : manifest.paths) {
        package.mark = "";  // written anew for each directory
        for (const std::string& name : path.files) {
            const auto source = unpacked.Look(std::string(kPayloadDirectory) + "/" + name);
            PlannedFile file;
            file.source = name;
            file.sourcePath = unpacked.InstallPath() + "/" + kPayloadDirectory + "/" + name;
            file.destination = path.destination + name;
            file.size = source ? source->size : 0;
            file.digest = source && source->size > 0 ? source->digest : "";
            file.digestAtStart = files.AtStart(file.destination);
            if (!failed) {
                PlanFile(source, path.destination, file, files);
                failed = file.action == FileAction::kFail;
            }
            if (file.action == FileAction::kInstall || file.action == FileAction::kReplace) {
                *package.mark += file.destination;
            }
            package.files.push_back(file);
        }
    }
    package.reason = failed ? "" : manifest.failure;
}

const char* ActionName(FileAction action) {
    switch (action) {
        case FileAction::kInstall:
            return "install";
        case FileAction::kReplace:
            return "replace";
        case FileAction::kUnchanged:
            return "unchanged";
        case FileAction::kFail:
            return "fail";
        case FileAction::kNotReached:
            return "not reached";
    }
    return "";
}

// Why no package for this platform is installed on this machine, or "".
static std::string PlatformProblem(const std::string& platform, ZnSide side) {
    const std::string local = ZnVcUpdate::GetModelPlatform(side);
    if (local.size() < 2) {
        return "this machine has no platform model; expected [os] platform in " +
               ZnSysInfo::GetCurrentProcessDirectory() + "/platforminfo.ini";
    }
    return platform == local ? ""
                             : "this machine's platform is \"" + local +
                                   "\", the record asks for \"" + platform + "\"";
}

PlannedPackage PlanPackage(const std::string& zip, const std::string& contents,
                           const ZnPackageInfo& record, ZnSide side, SimulatedFiles& files) {
    PlannedPackage package;
    package.zip = zip;
    package.name = FieldText(record.packageName);
    package.version = FieldText(record.version);
    package.platform = FieldText(record.platform);
    package.reason = PlatformProblem(package.platform, side);
    if (!package.reason.empty()) {
        return package;
    }
    try {
        const UnpackedPackage unpacked(zip, contents);
        package.unpacking = unpacked.PlanUnpacking(zip);
        PlanFiles(unpacked, package, files);
    } catch (const PackageError& error) {
        package.reason = error.what();
    }
    return package;
}
