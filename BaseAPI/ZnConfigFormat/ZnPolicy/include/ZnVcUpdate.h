// Update and installation of virtual-channel plugin packages ("microservices").
//
// Operations return 0 for success and -10000 for every failure, unless said otherwise. They log
// their course at level 3 and failures at level 1. Nothing throws on bad input. Operations that
// work on the package tree or install files are for one caller at a time; the others are safe from
// any thread.
#pragma once

#include <string>
#include <vector>

#include "ZnExport.h"
#include "ZnMessage.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

class ZN_API ZnVcUpdate {
   public:
    // --- Directories, paths, commands ---

    // Runs `exeName`, one blank and `args` through the shell and waits for it to end, however long
    // that takes: `timeoutMs` is only logged. Nothing is quoted: the arguments are the caller's to
    // make safe. Always returns 0; a caller that needs the outcome looks at the file system.
    static int ShellCall(std::string exeName, std::string args, int timeoutMs);

    // Makes sure that the tree below the process directory exists: "microservices", in it
    // "Package", and in that "Client" and "Server". All four are attempted; -10000 when one is
    // missing at the end, each of them logged by its path.
    static int ZnCreateMicroserviceDirectories();

    // Prepares the directories for one package file name: the tree, `subDirName` in the
    // microservices directory, and for a name that contains "Client" the package's own directory
    // below Package/Client, named after the file name up to its first ".zip" with "_Release" added.
    // A name that contains "Server" (and not "Client") gets no directory of its own. A name with
    // neither fails, after the tree and the sub-directory have been made.
    // `microservicesPath` is always set: the microservices directory with a trailing "/".
    static int ZnCreateMicroservicePackagePath(std::string subDirName, std::string packageName,
                                               std::string& microservicesPath);

    // Splits `filePath` (up to its first NUL) at the last `separator`: `dirPath` keeps the
    // separator at its end, `fileName` is what follows. Both are empty when there is no separator.
    // Logs nothing.
    static void SplitFilePath(std::string filePath, std::string& dirPath, std::string& fileName,
                              char separator);

    // Collapses each run of "/" in `path` into one, in place. Logs nothing.
    static void RepairPath(std::string& path);

    // --- Package records ---

    // Reads the update description of `terminalId` from its policy (item
    // "VirtualChannelPluginDetails"; with debugging switched on in the debug INI file, and only
    // when that item is missing, "ThirdPartyPluginNames"), decodes it when it is Base64, and stores
    // it in the update-policy file. `vekJsonUpdateInfo` is the JSON text; after a failure it is
    // what had been reached: "", or a text that was refused or could not be stored.
    static int ZnVmVekJsonUpdateInfo(int terminalId, std::string& vekJsonUpdateInfo);

    // Appends one record for each element of the description's "packageInfo" to `vekPackInfo`. A
    // member that is missing, is not a string or does not fit leaves its field empty. -10000 when
    // the text is empty, or when the list is still empty at the end.
    static int ZnConvertToVekPackInfo(std::string vekJsonUpdateInfo,
                                      std::vector<ZnPackageInfo>& vekPackInfo);

    // Replaces `packInfo` by the records in the payload of `msg`, byte for byte. -10000, with the
    // list empty, when `msg` is null or its payload is not a whole number of records. The payload
    // must be as long as the message says; its alignment does not matter.
    static int ZnClientPackageListMessageToPackInfo(ZnMessage* msg,
                                                    std::vector<ZnPackageInfo>& packInfo);

    // --- Local zips ---

    // Replaces `localPackInfo` by one record for each zip below `dirPath`: file name, SHA-256 and
    // size. Files under 2 bytes and release bundles ("_Release.zip") are left out. A file name of
    // 64 or more characters gives a record with an empty name. -10000, with the list empty, when
    // the directory does not exist.
    static int ZnScanLocalZipFiles(std::string dirPath, std::vector<ZnPackageInfo>& localPackInfo);

    // Unpacks `zipFile` with the `unzip` program into a directory beside it, named after the file
    // name up to its first ".zip"; files that are there are overwritten. The path goes to the shell
    // unquoted. Returns 0 once the command has run, whatever it did; -10000 when there is no such
    // file or no ".zip" in its path.
    static int UnZipVcPackage(std::string zipFile);

    // --- Installation ---

    // The platform model of this machine: key "platform" of section "os" in platforminfo.ini beside
    // the running executable, without surrounding blanks, tabs and line ends; a value of nothing
    // but these is returned unchanged. "" when it cannot be read. `side` only appears in the log.
    static std::string GetModelPlatform(ZnSide side);

    // Installs the unpacked package in the directory `filePrefix` by its manifest FileList.ini,
    // when `vekTellPlatform` is a prefix of the manifest's platform: every listed file goes from
    // the package's "Common" directory to its destination directory. A file that is replaced is
    // kept as
    // ".bak" (one generation), a file with the same SHA-256 is left alone, and each placed path is
    // added to the update mark file. -10000 at the first failure; what was installed before stays.
    static int ExecuteInstallCommand(std::string filePrefix, std::string vekTellPlatform);

    // Installs the package zip `zipfile`, which has been unpacked beside itself, when
    // `vekTellPlatform` is exactly this machine's platform model. The model is looked up once in
    // the life of the process, at the first call with an existing zip.
    static int AppendInstallScript(ZnSide side, std::string zipfile, std::string vekTellPlatform);

    // Installs, for one side, every package zip in the package directory of `rootDir` whose SHA-256
    // is that of a record; release bundles named in the records' download addresses are unpacked
    // first. Returns 0 also when an installation failed (it is logged); -10000 when the package
    // directory is missing, it holds no zip of this side, or a matching zip cannot be unpacked.
    static int BuildVcInstallList(std::string rootDir, ZnSide side,
                                  std::vector<ZnPackageInfo> packages);
};
