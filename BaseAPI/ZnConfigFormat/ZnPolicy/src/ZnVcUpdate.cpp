// Directories of the package tree, package records, local zips.
#include "ZnVcUpdate.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "UpdateSource.h"
#include "ZnCrypto.h"
#include "ZnFileExists.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnJson.h"
#include "ZnLog.h"
#include "ZnResult.h"
#include "ZnSysInfo.h"
#include "ZnXml.h"
#include "bounded.h"

static const std::string SP = "/";

static const unsigned short kDirectoryMode = 0777;

// --- Directories, paths, commands ---

static std::string MicroservicesDirectory() {
    return ZnSysInfo::GetCurrentProcessDirectory() + SP + "microservices" + SP;
}

// The separator before "Package" is doubled deliberately: the path appears in log records and is
// compared literally.
static std::string PackageDirectory(const std::string& microservicesDirectory) {
    return microservicesDirectory + SP + "Package" + SP;
}

// Returns the name up to its first ".zip".
static std::string ThinName(const std::string& name) {
    return name.substr(0, name.find(".zip"));
}

static bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// Creates the directory unless it exists. Returns whether it exists afterwards.
static bool MakeDirectory(const std::string& path) {
    if (FileExists(path)) {
        return true;
    }
    ZnDir::ZnMkDir(path.c_str(), kDirectoryMode);
    return FileExists(path);
}

static int CreateDirectories(std::string path) {
    if (!MakeDirectory(path)) {
        ZN_LOG(LogLevelError, "Failed:%s", path.c_str());
        return kFailure;
    }
    return kSuccess;
}

// Opens those of the descriptors 0 to 2 that are closed, on /dev/null. Otherwise a file that a
// command opens would get such a number and receive what the command prints.
static void OpenStandardDescriptors() {
    int descriptor = open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        fcntl(descriptor, F_SETFD, 0);  // for the command as well
        descriptor = open("/dev/null", O_RDWR | O_CLOEXEC);
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

static bool IsOpenInCommands(int descriptor) {
    return fcntl(descriptor, F_GETFD) == 0;
}

// Like system(), but for the command, those of the descriptors 0 to 2 that are close-on-exec are
// open on /dev/null. They are replaced in a child process, because the host's own descriptors must
// not change. SIGINT and SIGQUIT are not ignored meanwhile: that would affect other threads.
static void RunWithStandardDescriptors(const std::string& cmd) {
    const pid_t child = fork();
    if (child == 0) {  // only async-signal-safe calls: the host may have threads
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            if (!IsOpenInCommands(descriptor)) {
                close(descriptor);
                open("/dev/null", O_RDWR);  // gets the lowest free number, `descriptor`
            }
        }
        execl("/bin/sh", "sh", "-c", cmd.c_str(), nullptr);
        _exit(127);
    }
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

static void RunCommand(const std::string& cmd) {
    OpenStandardDescriptors();
    if (IsOpenInCommands(STDIN_FILENO) && IsOpenInCommands(STDOUT_FILENO) &&
        IsOpenInCommands(STDERR_FILENO)) {
        // The command's outcome is deliberately ignored: callers check what it left behind.
        [[maybe_unused]] const int status = system(cmd.c_str());
    } else {
        RunWithStandardDescriptors(cmd);
    }
}

int ZnVcUpdate::ShellCall(std::string exeName, std::string args, int timeoutMs) {
    ZN_LOG(LogLevelInfo, "exeName=%s,args=%s,timeoutMs=%d", exeName.c_str(), args.c_str(),
           timeoutMs);
    const std::string cmd = exeName + " " + args;
    ZN_LOG(LogLevelInfo, "cmd=%s", cmd.c_str());
    RunCommand(cmd);
    return kSuccess;
}

int ZnVcUpdate::ZnCreateMicroserviceDirectories() {
    const std::string microservices = MicroservicesDirectory();
    const std::string package = PackageDirectory(microservices);
    ZN_LOG(LogLevelInfo, "%s", microservices.c_str());
    int sum = CreateDirectories(microservices);
    sum += CreateDirectories(package);
    sum += CreateDirectories(package + "Client" + SP);
    sum += CreateDirectories(package + "Server" + SP);
    if (sum < 0) {
        ZN_LOG(LogLevelError, "Create Directories failed");
        return kFailure;
    }
    return kSuccess;
}

int ZnVcUpdate::ZnCreateMicroservicePackagePath(std::string subDirName, std::string packageName,
                                                std::string& microservicesPath) {
    microservicesPath = MicroservicesDirectory();
    if (ZnCreateMicroserviceDirectories() != kSuccess) {
        ZN_LOG(LogLevelError, "Failed:ZnCreateMicroserviceDirectories");
        return kFailure;
    }
    const std::string subDir = microservicesPath + SP + subDirName + SP;
    if (!MakeDirectory(subDir)) {
        ZN_LOG(LogLevelError, "Failed:%s", subDir.c_str());
        return kFailure;
    }
    const std::string thinFilePath = ThinName(packageName);
    ZN_LOG(LogLevelInfo, "thinFilePath=%s", thinFilePath.c_str());
    if (!Contains(packageName, "Client")) {
        // Deliberately, server packages get no directory of their own here.
        if (Contains(packageName, "Server")) {
            return kSuccess;
        }
        ZN_LOG(LogLevelError, "Invalid:packageName=%s", packageName.c_str());
        return kFailure;
    }
    const std::string packagePath =
        PackageDirectory(microservicesPath) + "Client" + SP + thinFilePath + "_Release" + SP;
    ZN_LOG(LogLevelInfo, "packagePath=%s", packagePath.c_str());
    if (!MakeDirectory(packagePath)) {
        ZN_LOG(LogLevelError, "Failed:%s", packagePath.c_str());
        return kFailure;
    }
    return kSuccess;
}

void ZnVcUpdate::SplitFilePath(std::string filePath, std::string& dirPath, std::string& fileName,
                               char separator) {
    dirPath.clear();
    fileName.clear();
    filePath.resize(std::strlen(filePath.c_str()));
    const size_t last = filePath.rfind(separator);
    if (last == std::string::npos) {
        return;
    }
    fileName = filePath.substr(last + 1);
    dirPath = filePath.substr(0, last + 1);
}

// --- Package records ---

static bool LooksLikeUpdateDescription(const std::string& text) {
    return MissingDescriptionWord(text) == nullptr;
}

// Takes the update description, plain or as Base64, checks it and stores it.
static int ConvertVcDetail(std::string originalInfo, std::string& vekJsonUpdateInfo) {
    if (originalInfo.size() < 2) {
        ZN_LOG(LogLevelError, "Invalid originalInfo.size");
        return kFailure;
    }
    if (LooksLikeUpdateDescription(originalInfo)) {
        ZN_LOG(LogLevelInfo, "plaintext");
        vekJsonUpdateInfo = originalInfo;
    } else {
        ZN_LOG(LogLevelInfo, "Base64");
        std::vector<unsigned char> buffer(originalInfo.size() * 3);
        memset_s(buffer.data(), buffer.size(), 0, buffer.size());
        const int outSize = static_cast<int>(std::min<size_t>(buffer.size(), INT_MAX));
        const int decoded = ZnBase64::Decode(originalInfo, buffer.data(), outSize);
        if (decoded <= 1) {
            ZN_LOG(LogLevelError, "ZnBase64::Decode Faield:len=%d", decoded);
            return kFailure;
        }
        const char* text = reinterpret_cast<const char*>(buffer.data());
        vekJsonUpdateInfo.assign(text, strnlen(text, buffer.size()));
    }
    if (!LooksLikeUpdateDescription(vekJsonUpdateInfo)) {
        ZN_LOG(LogLevelError, "Invalid vekJsonUpdateInfo");
        return kFailure;
    }
    const int length = static_cast<int>(vekJsonUpdateInfo.size());
    const int written = static_cast<int>(
        ZnFile::WriteBinFile(VEK_MICROSERVICES_VM_UPDATEPOLICY, vekJsonUpdateInfo.data(),
                             static_cast<long long>(vekJsonUpdateInfo.size())));
    if (written != length) {
        ZN_LOG(LogLevelError, "Failed:VEK_MICROSERVICES_VM_UPDATEPOLICY=%s,len=%d not %d",
               VEK_MICROSERVICES_VM_UPDATEPOLICY, written, length);
        return kFailure;
    }
    ZN_LOG(LogLevelInfo, "Pass:len=%d,vekJsonUpdateInfo.size=%d", written, length);
    return kSuccess;
}

int ZnVcUpdate::ZnVmVekJsonUpdateInfo(int terminalId, std::string& vekJsonUpdateInfo) {
    vekJsonUpdateInfo.clear();
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    const std::string packageDirectory = PackageDirectory(MicroservicesDirectory());
    if (!FileExists(packageDirectory)) {
        ZN_LOG(LogLevelError, "Not Exsit:%s", packageDirectory.c_str());
        return kFailure;
    }
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return kFailure;
    }
    std::string policyName;
    if (!xml.GetXmlContent("PolicyName", policyName)) {
        ZN_LOG(LogLevelInfo, "PolicyName Failed");
        return kFailure;
    }
    int vccEnable = 0;
    if (!xml.GetXmlContent("VirtualChannelEnable", vccEnable) || vccEnable == 0) {
        return kFailure;
    }
    std::string vcRegInfo;
    xml.GetXmlContent("VirtualChannelOptionNames", vcRegInfo);
    ZN_LOG(LogLevelInfo, "vcRegInfo=%s", vcRegInfo.c_str());

    ZN_LOG(LogLevelInfo, "Formal:VirtualChannelPluginDetails");
    std::string originalInfo;
    if (!xml.GetXmlContent("VirtualChannelPluginDetails", originalInfo) ||
        originalInfo.size() < 2) {
        ZN_LOG(LogLevelError, "Failed:originalInfo.size=%d", static_cast<int>(originalInfo.size()));
        originalInfo.clear();
        const int debugVc = IniGetInt("PolicyName", "debugVc", 0, FRAMEWORK_DEBUG_CONFIG);
        if (debugVc != 1 || !FileExists(FRAMEWORK_DEBUG_CONFIG)) {
            return kFailure;
        }
        ZN_LOG(LogLevelInfo, "Debug:ThirdPartyPluginNames");
        xml.GetXmlContent("ThirdPartyPluginNames", originalInfo);
    }
    return ConvertVcDetail(originalInfo, vekJsonUpdateInfo);
}

// Copies `source` into one text field of a record. Deliberately, a value that is empty or does not
// fit leaves the field empty without a log record: the record is still useful.
template <size_t N>
static int HereDupCp(const std::string& source, char (&field)[N]) {
    if (source.empty() || source.size() > N - 1) {
        return kSuccess;
    }
    if (strcpy_s(field, N, source.c_str()) < 0) {
        ZN_LOG(LogLevelError, "strcpy_s Failed");
        return kFailure;
    }
    return kSuccess;
}

namespace {

// The members of an element of "packageInfo", in the order of the record's fields.
enum PackageMember : size_t {
    APPLICATION,
    DESCRIPTION,
    DOWNLOAD_URL,
    DOWNLOAD_ZIP_SHA256_HASH,
    RELEASE_DATE,
    MICROSERVICE_NAME,
    VERSION,
    PLATFORM,
    PACKAGE_NAME,
    SHA256_HASH,
    SIZE,
    PACKAGE_MEMBER_COUNT,
};

const std::string PACKAGE_INFO = "packageInfo";

using PackageTexts = std::array<std::string, PACKAGE_MEMBER_COUNT>;

const PackageTexts g_memberNames = {
    "application", "description",      "downloadUrl", "downloadZipSha256Hash",
    "releaseDate", "microserviceName", "version",     "platform",
    "packageName", "sha256Hash",       "size",
};

// Fills the text fields of the record. Returns the sum of the results of the copies.
int FillTexts(const PackageTexts& values, ZnPackageInfo& info) {
    int sum = HereDupCp(values[APPLICATION], info.application);
    sum += HereDupCp(values[DESCRIPTION], info.description);
    sum += HereDupCp(values[DOWNLOAD_URL], info.downloadUrl);
    sum += HereDupCp(values[DOWNLOAD_ZIP_SHA256_HASH], info.downloadZipSha256Hash);
    sum += HereDupCp(values[RELEASE_DATE], info.releaseDate);
    sum += HereDupCp(values[MICROSERVICE_NAME], info.microserviceName);
    sum += HereDupCp(values[VERSION], info.version);
    sum += HereDupCp(values[PLATFORM], info.platform);
    sum += HereDupCp(values[PACKAGE_NAME], info.packageName);
    sum += HereDupCp(values[SHA256_HASH], info.sha256Hash);
    return sum;
}

// Like atoi, but defined for every number: it saturates at the range of `long` and is then
// truncated to 32 bits.
int32_t TextToInt(const std::string& text) {
    return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace

int ZnVcUpdate::ZnConvertToVekPackInfo(std::string vekJsonUpdateInfo,
                                       std::vector<ZnPackageInfo>& vekPackInfo) {
    if (vekJsonUpdateInfo.empty()) {
        ZN_LOG(LogLevelError, "Failed:vekJsonUpdateInfo.size=%d",
               static_cast<int>(vekJsonUpdateInfo.size()));
        return kFailure;
    }
    ZnJson::Value root(vekJsonUpdateInfo);
    if (vekPackInfo.empty()) {
        vekPackInfo.reserve(static_cast<size_t>(std::max(root[PACKAGE_INFO].GetArraySize(), 0)));
    }
    PackageTexts values;
    for (int i = 0; i < root[PACKAGE_INFO].GetArraySize(); ++i) {
        ZnPackageInfo info;
        memset_s(&info, sizeof info, 0, sizeof info);
        const ZnJson::Value& element = root[PACKAGE_INFO][static_cast<unsigned int>(i)];
        for (size_t member = 0; member < PACKAGE_MEMBER_COUNT; ++member) {
            element.Get(g_memberNames[member], values[member]);
        }
        const int rc = FillTexts(values, info);
        if (rc < 0) {
            ZN_LOG(LogLevelError, "HereDupCp:Faield rc=%d", rc);
            return kFailure;
        }
        if (!values[SIZE].empty()) {
            info.size = TextToInt(values[SIZE]);
        }
        vekPackInfo.push_back(info);
    }
    if (vekPackInfo.empty()) {
        ZN_LOG(LogLevelError, "Failed:vekPackInfo.size=%d", static_cast<int>(vekPackInfo.size()));
        return kFailure;
    }
    return kSuccess;
}

int ZnVcUpdate::ZnClientPackageListMessageToPackInfo(ZnMessage* msg,
                                                     std::vector<ZnPackageInfo>& packInfo) {
    constexpr int kRecordSize = sizeof(ZnPackageInfo);

    packInfo.clear();
    if (msg == nullptr) {
        ZN_LOG(LogLevelError, "msg invalid");
        return kFailure;
    }
    const int length = msg->payloadLength;
    const int count = length / kRecordSize;
    if (length % kRecordSize != 0) {
        ZN_LOG(LogLevelError, "invalid:length=%d,%d", length, kRecordSize);
        return kFailure;
    }
    ZN_LOG(LogLevelInfo, "%d/%d=cplCnt%d", length, kRecordSize, count);
    if (count <= 0) {
        return kSuccess;
    }
    // The payload may have any alignment.
    const auto* payload = reinterpret_cast<const unsigned char*>(msg) + sizeof(ZnMessage);
    packInfo.resize(static_cast<size_t>(count));
    std::memcpy(packInfo.data(), payload, static_cast<size_t>(length));
    return kSuccess;
}

// --- Local zips ---

int ZnVcUpdate::ZnScanLocalZipFiles(std::string dirPath,
                                    std::vector<ZnPackageInfo>& localPackInfo) {
    localPackInfo.clear();
    ZnCreateMicroserviceDirectories();
    if (!FileExists(dirPath)) {
        ZN_LOG(LogLevelError, "Not Exsit:%s", dirPath.c_str());
        return kFailure;
    }
    std::vector<std::string> scanFiles;
    ZnFile::ScanDirectoriesFiles(dirPath, scanFiles);
    std::string dir;
    std::string name;
    for (size_t i = 0; i < scanFiles.size(); ++i) {
        const std::string& path = scanFiles[i];
        if (!Contains(path, ".zip")) {
            continue;
        }
        SplitFilePath(path, dir, name, SP.front());
        if (dir.empty() || name.empty()) {
            ZN_LOG(LogLevelError, "Invalid:%d,%d", static_cast<int>(dir.size()),
                   static_cast<int>(name.size()));
            continue;
        }
        const int fileSize = static_cast<int>(ZnFile::FileSize(path.c_str()));
        if (fileSize < 2 || Contains(name, "_Release.zip")) {
            continue;
        }
        const std::string sha = ZnSha256::FileSha256Value(path);
        ZnPackageInfo info;
        memset_s(&info, sizeof info, 0, sizeof info);
        info.size = fileSize;
        // A name that does not fit gives a positive code and an empty field. The record is listed
        // nevertheless, for its digest.
        if (strcpy_s(info.packageName, sizeof info.packageName, name.c_str()) +
                strcpy_s(info.sha256Hash, sizeof info.sha256Hash, sha.c_str()) <
            0) {
            ZN_LOG(LogLevelError, "strcpy_s Faield");
            continue;
        }
        localPackInfo.push_back(info);
        ZN_LOG(LogLevelInfo, "scanFiles[%d]=%s", static_cast<int>(i), path.c_str());
    }
    ZN_LOG(LogLevelInfo, "localPackInfo.size=%d", static_cast<int>(localPackInfo.size()));
    return kSuccess;
}

int ZnVcUpdate::UnZipVcPackage(std::string zipFile) {
    if (!FileExists(zipFile) || !Contains(zipFile, ".zip")) {
        ZN_LOG(LogLevelError, "Not Find zipfile=%s", zipFile.c_str());
        return kFailure;
    }
    std::string filePrefix;
    std::string fileSuffix;
    SplitFilePath(zipFile, filePrefix, fileSuffix, SP.front());
    ZN_LOG(LogLevelInfo, "zipfile=%s", zipFile.c_str());
    ZN_LOG(LogLevelInfo, "filePrefix=%s", filePrefix.c_str());
    ZN_LOG(LogLevelInfo, "fileSuffix=%s", fileSuffix.c_str());
    const int pos = static_cast<int>(fileSuffix.find(".zip"));
    const std::string thinFilePath = ThinName(fileSuffix);
    ZN_LOG(LogLevelInfo, "pos=%d,thinFilePath=%s", pos, thinFilePath.c_str());
    const std::string args = " -o " + zipFile + " -d " + filePrefix + SP + thinFilePath;
    ZN_LOG(LogLevelInfo, "args=%s", args.c_str());
    constexpr int kTimeoutMs = 120000;
    ShellCall("unzip", args, kTimeoutMs);
    return kSuccess;
}
