// The platform model, and which local zips are installed.
#include <string>
#include <string_view>
#include <vector>

#include "PackageSelection.h"
#include "ZnCrypto.h"
#include "ZnFileExists.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnLog.h"
#include "ZnResult.h"
#include "ZnSysInfo.h"
#include "ZnVcUpdate.h"

static const std::string SP = "/";

// --- Platform model ---

// Removes surrounding blanks, tabs and line ends. Deliberately leaves a value of nothing else
// unchanged, so that the log shows what was found.
static std::string Trimmed(std::string value) {
    static const char* const kBlanks = " \t\n\r";
    const size_t last = value.find_last_not_of(kBlanks);
    if (last != std::string::npos) {
        value.erase(last + 1);
    }
    const size_t first = value.find_first_not_of(kBlanks);
    if (first != std::string::npos) {
        value.erase(0, first);
    }
    return value;
}

std::string ZnVcUpdate::GetModelPlatform(ZnSide side) {
    char buffer[260] = {};
    const std::string path = ZnSysInfo::GetCurrentProcessDirectory() + SP + "platforminfo.ini";
    if (IniGetString("os", "platform", "", buffer, sizeof buffer - 1, path.c_str()) != 0) {
        ZN_LOG(LogLevelError, "Invalid:platform side=%d", static_cast<int>(side));
        return "";
    }
    std::string platform = Trimmed(buffer);
    ZN_LOG(LogLevelInfo, "platform=%s", platform.c_str());
    return platform;
}

// --- Install list ---

// Returns the zips of one side, in listing order.
static std::vector<std::string> TidyCheckZipFiles(ZnSide side,
                                                  const std::vector<std::string>& files) {
    std::vector<std::string> tidyZipFiles;
    for (const std::string& path : files) {
        if (IsZipOfSide(path, side)) {
            ZN_LOG(LogLevelInfo, "Local:%s", path.c_str());
            tidyZipFiles.push_back(path);
        }
    }
    return tidyZipFiles;
}

// Unpacks each release bundle once for every record whose download address contains its name.
// Deliberately ignores the result: a bundle only adds files.
static void FirstOfAllUnReleaseZip(const std::vector<std::string>& zipFiles,
                                   const std::vector<ZnPackageInfo>& packages) {
    for (const std::string& path : zipFiles) {
        if (!IsReleaseBundle(path)) {
            continue;
        }
        std::string dir;
        std::string name;
        ZnVcUpdate::SplitFilePath(path, dir, name, SP.front());
        for (const ZnPackageInfo& package : packages) {
            if (FieldText(package.downloadUrl).find(name) != std::string_view::npos) {
                ZN_LOG(LogLevelInfo, "%s", path.c_str());
                ZnVcUpdate::UnZipVcPackage(path);
            }
        }
    }
}

// Unpacks and installs each package zip once for every record with its digest. A failed
// installation has been logged and does not stop the others.
static int UnZipAllInnerPackageZip(ZnSide side, const std::vector<std::string>& zipFiles,
                                   const std::vector<ZnPackageInfo>& packages) {
    const RecordsByDigest records(packages);
    for (const std::string& path : zipFiles) {
        if (IsReleaseBundle(path)) {
            continue;
        }
        const std::string digest = ZnSha256::FileSha256Value(path);
        for (const ZnPackageInfo* record : records.Find(digest)) {
            ZN_LOG(LogLevelInfo, "zipfile=%s", path.c_str());
            ZN_LOG(LogLevelInfo, "zipfileSha256=%s", digest.c_str());
            if (ZnVcUpdate::UnZipVcPackage(path) != kSuccess) {
                ZN_LOG(LogLevelError, "UnZipVcPackage Failed");
                return kFailure;
            }
            ZnVcUpdate::AppendInstallScript(side, path, std::string(FieldText(record->platform)));
        }
    }
    return kSuccess;
}

int ZnVcUpdate::BuildVcInstallList(std::string rootDir, ZnSide side,
                                   std::vector<ZnPackageInfo> packages) {
    const std::string packageDirectory = rootDir + SP + "Package" + SP;
    if (!FileExists(packageDirectory)) {
        ZN_LOG(LogLevelError, "Not Exsit:%s", packageDirectory.c_str());
        return kFailure;
    }
    std::vector<std::string> files;
    ZnFile::ScanDirectoriesFiles(packageDirectory, files);
    // Listed before any unpacking: zips from release bundles are left to the next call.
    const std::vector<std::string> tidyZipFiles = TidyCheckZipFiles(side, files);
    if (tidyZipFiles.empty()) {
        ZN_LOG(LogLevelError, "Invalid:tidyZipFiles.size");
        return kFailure;
    }
    FirstOfAllUnReleaseZip(tidyZipFiles, packages);
    return UnZipAllInnerPackageZip(side, tidyZipFiles, packages);
}

void ZnVcUpdate::RepairPath(std::string& path) {
    size_t length = 0;
    for (const char c : path) {
        if (c != '/' || length == 0 || path[length - 1] != '/') {
            path[length++] = c;
        }
    }
    path.resize(length);
}
