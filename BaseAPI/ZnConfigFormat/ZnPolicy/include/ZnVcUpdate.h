// Update and installation of virtual-channel plugin packages ("microservices").
//
// Operations return 0 for success and -10000 for failure, log progress at level 3 and failures at
// level 1, and throw nothing on bad input, unless noted otherwise. Operations that work on the
// package tree or install files must not run concurrently; the others are thread-safe.
#pragma once

#include <string>
#include <vector>

#include "ZnExport.h"
#include "ZnMessage.h"
#include "ZnPackageInfo.h"
#include "ZnSide.h"

// Decodes descriptions of packages, finds and unpacks their zips, and installs them.
class ZN_API ZnVcUpdate {
   public:
    // --- Directories, paths, commands ---

    // Runs `exeName` + " " + `args` through the shell and waits for it without a time limit:
    // `timeoutMs` is only logged. Always returns 0; a caller that needs the outcome checks what the
    // command left in the file system. Nothing is quoted: the caller makes the arguments safe.
    // Closed descriptors among 0 to 2 are opened on /dev/null before, and stay open. For those that
    // are close-on-exec, the command gets /dev/null; they do not change for the caller.
    static int ShellCall(std::string exeName, std::string args, int timeoutMs);

    // Creates, below the process directory, "microservices", in it "Package", and in that "Client"
    // and "Server", as far as they are missing. All four are attempted. -10000 when one could not
    // be created; each of those is logged by its path.
    static int ZnCreateMicroserviceDirectories();

    // Creates the directories for the package file `packageName`: the tree above, `subDirName` in
    // the microservices directory and, when the name contains "Client", the package's own directory
    // in Package/Client, named after the file name up to its first ".zip" plus "_Release". A name
    // with "Server" gets no directory of its own; a name with neither fails after the other
    // directories have been created. Sets `microservicesPath` in any case: the microservices
    // directory with a trailing "/".
    static int ZnCreateMicroservicePackagePath(std::string subDirName, std::string packageName,
                                               std::string& microservicesPath);

    // Splits `filePath`, up to its first NUL, after the last `separator` into `dirPath` and
    // `fileName`. Both are empty when there is no separator. Logs nothing.
    static void SplitFilePath(std::string filePath, std::string& dirPath, std::string& fileName,
                              char separator);

    // Replaces each run of "/" in `path` with a single one. Logs nothing.
    static void RepairPath(std::string& path);

    // --- Package records ---

    // Reads the update description of `terminalId` from the policy item
    // "VirtualChannelPluginDetails", decodes it if it is Base64, and writes it to the update-policy
    // file. When the item is missing and debugging is enabled in the debug INI file, the item
    // "ThirdPartyPluginNames" is read instead. `vekJsonUpdateInfo` is the JSON text; on failure it
    // is empty, or the text that was refused or could not be written. A disabled
    // "VirtualChannelEnable" fails without a log record, a missing "PolicyName" with one at
    // level 3.
    static int ZnVmVekJsonUpdateInfo(int terminalId, std::string& vekJsonUpdateInfo);

    // Appends one record to `vekPackInfo` for each element of the array "packageInfo" of the update
    // description `vekJsonUpdateInfo`. Members that are missing, not strings or too long leave
    // their fields empty. -10000 when the description is empty, or when `vekPackInfo` is empty at
    // the end. Logs nothing on success.
    static int ZnConvertToVekPackInfo(std::string vekJsonUpdateInfo,
                                      std::vector<ZnPackageInfo>& vekPackInfo);

    // Replaces `packInfo` with the records in the payload of `msg`, copied bytewise. `msg` stays
    // the caller's; its payload must be as long as the message says and may have any alignment.
    // -10000, with `packInfo` empty, when `msg` is null or the payload is not a whole number of
    // records.
    static int ZnClientPackageListMessageToPackInfo(ZnMessage* msg,
                                                    std::vector<ZnPackageInfo>& packInfo);

    // --- Local zips ---

    // Replaces `localPackInfo` with one record for each zip below `dirPath`: file name, SHA-256 and
    // size in bytes. Files of less than 2 bytes and release bundles ("_Release.zip") are skipped. A
    // file name of 64 or more characters leaves the name of its record empty. Creates the package
    // tree first. -10000, with `localPackInfo` empty, when `dirPath` does not exist.
    static int ZnScanLocalZipFiles(std::string dirPath, std::vector<ZnPackageInfo>& localPackInfo);

    // Unpacks `zipFile` with the program `unzip` into a directory next to it, named after the file
    // name up to its first ".zip"; existing files are overwritten. Returns 0 once the command has
    // run, whatever its outcome; -10000 when the file does not exist or its path has no ".zip".
    //
    // Warnings: A path without a directory ("x.zip") is unpacked into "/": pass a path with a
    // directory. The path is passed to the shell unquoted: no blanks or shell characters. `unzip`
    // may ask on standard input, for example on a full disk or for a password: the process should
    // have its standard input on /dev/null.
    static int UnZipVcPackage(std::string zipFile);

    // --- Installation ---

    // Returns the platform model of this machine: the key "platform" of section "os" in
    // platforminfo.ini in the process directory, without surrounding blanks, tabs and line ends (a
    // value of nothing else is returned unchanged). "" when it cannot be read. `side` is only
    // logged.
    static std::string GetModelPlatform(ZnSide side);

    // Installs the package unpacked in the directory `filePrefix` by its manifest FileList.ini,
    // provided that the manifest's platform begins with `vekTellPlatform`. Copies each listed file
    // from the package's directory "Common" to its destination directory. A replaced file is kept
    // with the suffix ".bak" (one generation), a file with the same SHA-256 is left alone, and the
    // path of each copied file is appended to the update mark file, which is rewritten for each
    // destination directory. -10000 at the first failure; files installed before it stay.
    static int ExecuteInstallCommand(std::string filePrefix, std::string vekTellPlatform);

    // Installs the package zip `zipfile`, already unpacked next to it, provided that
    // `vekTellPlatform` equals this machine's platform model. The model is read once per process,
    // at the first call with an existing zip. `side` is only logged.
    static int AppendInstallScript(ZnSide side, std::string zipfile, std::string vekTellPlatform);

    // Unpacks and installs, for one side, each package zip in the directory "Package" of `rootDir`
    // whose SHA-256 is that of a record in `packages`. Release bundles named in the download
    // addresses of the records are unpacked first. Returns 0 even when installations failed, which
    // is logged; -10000 when the directory is missing, has no zip of this side, or a matching zip
    // cannot be unpacked. The warnings of UnZipVcPackage apply.
    static int BuildVcInstallList(std::string rootDir, ZnSide side,
                                  std::vector<ZnPackageInfo> packages);
};
