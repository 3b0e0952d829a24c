// BuildVcInstallList: selects, unpacks and installs the zips of one side.
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "PolicyTest.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Field;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr int kFailed = -10000;

using Records = std::vector<Logged>;

static Records Joined(Records first, const Records& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// A digest of 64 characters.
static std::string Digest(char digit) {
    std::string digest(64, digit);
    return digest;
}

// A package record with the fields that the list uses.
static ZnPackageInfo Package(const std::string& url, const std::string& sha256,
                             const std::string& platform) {
    ZnPackageInfo package = {};
    url.copy(package.downloadUrl, sizeof package.downloadUrl);
    sha256.copy(package.sha256Hash, sizeof package.sha256Hash);
    platform.copy(package.platform, sizeof package.platform);
    return package;
}

class InstallList : public PolicyTest {
   protected:
    // The platform is read once per process. Reading it here gives all tests the same one and keeps
    // the record out of them.
    static void SetUpTestSuite() {
        ScriptedServices::Reset();
        ScriptedServices::Get().iniFiles["/platforminfo.ini"] = {{"os", {{"platform", "arm64"}}}};
        ZnVcUpdate::AppendInstallScript(SERVER_SIDE, "/dev/null", "arm64");
    }

    InstallList() {
        fs::create_directories(packages_);
        ScriptedServices::Get().fileSha256 = [this](const std::string& path) {
            return digests_[path];
        };
    }

    // Puts a zip into the package directory, already unpacked: a package for arm64 without files.
    std::string Zip(const std::string& name, const std::string& digest = "") {
        std::string path = packages_ + name;
        WriteFile(path, "zip");
        digests_[path] = digest;
        const std::string manifest = path.substr(0, path.rfind('.')) + "/FileList.ini";
        WriteFile(manifest, "");
        ScriptedServices::Get().iniFiles[manifest] = {
            {"Package_Intall_Type", {{"PackageIntallType", "arm64"}}}, {"arm64", {}}};
        return path;
    }

    int Build(const std::vector<ZnPackageInfo>& packages, int side = SERVER_SIDE) {
        return ZnVcUpdate::BuildVcInstallList(root_, static_cast<ZnSide>(side), packages);
    }

    static Logged Kept(const std::string& path) {
        return Progress("TidyCheckZipFiles", "Local:" + path);
    }

    // The command that unpacks a zip of the package directory.
    std::string UnzipCommand(const std::string& name) {
        return "unzip  -o " + packages_ + name + " -d " + packages_ + "/" +
               name.substr(0, name.find(".zip"));
    }

    // The records of unpacking.
    Records Unzipped(const std::string& name) {
        const std::string zip = packages_ + name;
        const std::string thin = name.substr(0, name.find(".zip"));
        const std::string args = " -o " + zip + " -d " + packages_ + "/" + thin;
        return {Progress("UnZipVcPackage", "zipfile=" + zip),
                Progress("UnZipVcPackage", "filePrefix=" + packages_),
                Progress("UnZipVcPackage", "fileSuffix=" + name),
                Progress("UnZipVcPackage",
                         "pos=" + std::to_string(thin.size()) + ",thinFilePath=" + thin),
                Progress("UnZipVcPackage", "args=" + args),
                Progress("ShellCall", "exeName=unzip,args=" + args + ",timeoutMs=120000"),
                Progress("ShellCall", "cmd=unzip " + args)};
    }

    // The records of selecting, unpacking and installing a package zip.
    Records UnzippedAndInstalled(const std::string& name, const std::string& digest) {
        const std::string zip = packages_ + name;
        const std::string manifest = zip.substr(0, zip.rfind('.')) + "/FileList.ini";
        Records records = {Progress("UnZipAllInnerPackageZip", "zipfile=" + zip),
                           Progress("UnZipAllInnerPackageZip", "zipfileSha256=" + digest)};
        records = Joined(records, Unzipped(name));
        return Joined(records, {Progress("ExecuteInstallCommand", "fileListIni=" + manifest),
                                Progress("ExecuteInstallCommand", "vekTellPlatform=arm64"),
                                Progress("ExecuteInstallCommand",
                                         "Match:vekTellPlatform=arm64,platform=arm64")});
    }

    TemporaryDirectory dir_;
    const std::string root_ = dir_ / "microservices";
    const std::string packages_ = root_ + "/Package/";
    std::map<std::string, std::string> digests_;
};

static const Logged kNothingKept = Failure("BuildVcInstallList", "Invalid:tidyZipFiles.size");

// --- The package directory and the zips of a side ---

TEST_F(InstallList, FailsWithoutPackageDirectory) {
    fs::remove_all(packages_);
    EXPECT_EQ(Build({}), kFailed);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Failure("BuildVcInstallList", "Not Exsit:" + packages_)));
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());
}

TEST_F(InstallList, FailsWithoutZipOfSide) {
    EXPECT_EQ(Build({}), kFailed);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(kNothingKept));
    EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("scan " + packages_));

    RecordingLogger::Clear();
    Zip("a_Client.zip");
    EXPECT_EQ(Build({}, SERVER_SIDE), kFailed);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(kNothingKept));
}

TEST_F(InstallList, KeepsZipsOfSideInListingOrder) {
    const std::string server2 = Zip("2_Server.zip");
    const std::string server1 = Zip("1_Server.zip");
    const std::string client = Zip("3_Client.zip");
    EXPECT_EQ(Build({}, SERVER_SIDE), 0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Kept(server1), Kept(server2)));

    RecordingLogger::Clear();
    EXPECT_EQ(Build({}, CLIENT_SIDE), 0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Kept(client)));

    // The order of the listing is kept.
    RecordingLogger::Clear();
    ScriptedFiles::Get().scan = [&](const std::string&, std::vector<std::string>& files) {
        files = {server2, client, server1, server2};
        return -1;  // the listing's result is not looked at
    };
    EXPECT_EQ(Build({}, SERVER_SIDE), 0);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Kept(server2), Kept(server1), Kept(server2)));
}

TEST_F(InstallList, KeepsNothingForInvalidSide) {
    Zip("a_Server.zip");
    Zip("a_Client.zip");
    for (const int side : {2, -1, 7, 2147483647}) {
        RecordingLogger::Clear();
        EXPECT_EQ(Build({}, side), kFailed);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(kNothingKept));
    }
}

TEST_F(InstallList, FindsMarksAnywhereInPath) {
    const struct {
        const char* name;
        bool server;
        bool client;
    } cases[] = {
        {"a_Server.zip", true, false},      {"_Server_Client.zip", true, true},
        {"in_Server/a.zip", true, false},   {"in.zip/a_Server", true, false},
        {"a_Server.zip.part", true, false}, {"a.zip_Server", true, false},
        {"a_server.zip", false, false},     {"a_Server.ZIP", false, false},
        {"a_Servezip", false, false},       {"aServer.zip", false, false},
        {"a_Server", false, false},         {"a.zip", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedFiles::Get().scan = [&](const std::string& directory,
                                        std::vector<std::string>& files) {
            files = {directory + c.name};
            return 0;
        };
        EXPECT_EQ(Build({}, SERVER_SIDE), c.server ? 0 : kFailed);
        EXPECT_EQ(Build({}, CLIENT_SIDE), c.client ? 0 : kFailed);
    }
}

TEST_F(InstallList, SucceedsWithoutRecords) {
    const std::string bundle = Zip("a_Server_Release.zip");
    const std::string zip = Zip("b_Server.zip");
    EXPECT_EQ(Build({}), 0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Kept(bundle), Kept(zip)));
    EXPECT_THAT(ScriptedServices::Get().shellCommands, IsEmpty());
}

TEST_F(InstallList, LogsSourceFile) {
    Build({}, 7);
    fs::remove_all(packages_);
    Build({});
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    EXPECT_EQ(origins.size(), 2U);
    EXPECT_THAT(origins, Each(Field(&LogOrigin::file, "ZnVcInstall.cpp")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag1, " ")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag2, "")));
}

// --- Release bundles ---

TEST_F(InstallList, UnpacksBundleOnceForEachNamingRecord) {
    const std::string bundle = Zip("a_Server_Release.zip");
    EXPECT_EQ(
        Build({Package("https://host/a_Server_Release.zip", "", ""),
               Package("https://host/other.zip", "", ""),
               Package("https://host/a_Server_Release.zip?again=a_Server_Release.zip", "", "")}),
        0);
    const Logged chosen = Progress("FirstOfAllUnReleaseZip", bundle);
    Records expected = Joined({Kept(bundle), chosen}, Unzipped("a_Server_Release.zip"));
    expected = Joined(Joined(expected, {chosen}), Unzipped("a_Server_Release.zip"));
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_THAT(
        ScriptedServices::Get().shellCommands,
        ElementsAre(UnzipCommand("a_Server_Release.zip"), UnzipCommand("a_Server_Release.zip")));
}

TEST_F(InstallList, DoesNotUnpackUnnamedBundle) {
    const std::string bundle = Zip("a_Server_Release.zip");
    EXPECT_EQ(Build({Package("https://host/A_Server_Release.zip", "", ""),
                     Package("https://host/a_Server_Release", "", "")}),
              0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Kept(bundle)));
}

TEST_F(InstallList, UnpacksBundlesFirst) {
    Zip("1_Server.zip", Digest('1'));
    Zip("2_Server_Release.zip");
    EXPECT_EQ(Build({Package("2_Server_Release.zip", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(ScriptedServices::Get().shellCommands,
                ElementsAre(UnzipCommand("2_Server_Release.zip"), UnzipCommand("1_Server.zip")));
}

TEST_F(InstallList, DoesNotInstallBundle) {
    const std::string bundle = Zip("a_Server_Release.zip", Digest('1'));
    EXPECT_EQ(Build({Package("", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Kept(bundle)));
    EXPECT_THAT(ScriptedServices::Get().digestCalls, IsEmpty());
}

TEST_F(InstallList, TreatsZipInBundleDirectoryAsBundle) {
    const std::string zip = Zip("x_Release.zip/a_Server.zip", Digest('1'));
    EXPECT_EQ(Build({Package("https://host/a_Server.zip", Digest('1'), "arm64")}), 0);
    EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), 1U);
    EXPECT_THAT(ScriptedServices::Get().digestCalls, IsEmpty());
}

TEST_F(InstallList, IgnoresBundleThatCannotBeUnpacked) {
    const std::string bundle = Zip("a_Server_Release.zip");
    Zip("b_Server.zip", Digest('1'));
    const auto scan = ScriptedFiles::Get().scan;
    ScriptedFiles::Get().scan = [&](const std::string& directory, std::vector<std::string>& files) {
        const int result = scan(directory, files);
        fs::remove(bundle);
        return result;
    };
    EXPECT_EQ(Build({Package("a_Server_Release.zip", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(ScriptedServices::Get().shellCommands, ElementsAre(UnzipCommand("b_Server.zip")));
    EXPECT_THAT(RecordingLogger::Records(),
                testing::Contains(Failure("UnZipVcPackage", "Not Find zipfile=" + bundle)));
}

TEST_F(InstallList, LeavesContentsOfBundleToNextCall) {
    Zip("a_Server_Release.zip");
    ScriptedServices::Get().shell = [this](const std::string& command) {
        if (command == UnzipCommand("a_Server_Release.zip")) {
            Zip("a_Server_Release/b_Server.zip", Digest('1'));
        }
        return 0;
    };
    const std::vector<ZnPackageInfo> packages = {
        Package("a_Server_Release.zip", Digest('1'), "arm64")};
    EXPECT_EQ(Build(packages), 0);
    EXPECT_THAT(ScriptedServices::Get().shellCommands,
                ElementsAre(UnzipCommand("a_Server_Release.zip")));
    EXPECT_EQ(Build(packages), 0);
    EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), 3U);
}

TEST_F(InstallList, SearchesAddressThatFillsItsField) {
    Zip("a_Server_Release.zip");
    const std::string name = "a_Server_Release.zip";
    EXPECT_EQ(Build({Package(std::string(320 - name.size(), '/') + name, "", "")}), 0);
    EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), 1U);
    // The next field of the record is not part of this one.
    EXPECT_EQ(Build({Package(std::string(321 - name.size(), '/') + name, "p", "")}), 0);
    EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), 1U);
}

// --- Package zips ---

TEST_F(InstallList, UnpacksAndInstallsMatchingZip) {
    const std::string zip = Zip("a_Server.zip", Digest('1'));
    EXPECT_EQ(Build({Package("", Digest('0'), "arm64"), Package("", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAreArray(Joined({Kept(zip)}, UnzippedAndInstalled("a_Server.zip", Digest('1')))));
    EXPECT_THAT(ScriptedServices::Get().shellCommands, ElementsAre(UnzipCommand("a_Server.zip")));
}

TEST_F(InstallList, SkipsZipWithoutRecordSilently) {
    const std::string a = Zip("a_Server.zip", Digest('1'));
    const std::string b = Zip("b_Server.zip", Digest('2'));
    EXPECT_EQ(Build({Package("a_Server.zip", Digest('2'), "arm64")}), 0);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAreArray(
                    Joined({Kept(a), Kept(b)}, UnzippedAndInstalled("b_Server.zip", Digest('2')))));
    EXPECT_THAT(ScriptedServices::Get().digestCalls, ElementsAre(a, b));
}

TEST_F(InstallList, InstallsZipOnceForEachMatchingRecord) {
    const std::string zip = Zip("a_Server.zip", Digest('1'));
    EXPECT_EQ(Build({Package("", Digest('1'), "arm64"), Package("", Digest('2'), "arm64"),
                     Package("", Digest('1'), "x86"), Package("", Digest('1'), "arm64")}),
              0);
    Records expected = Joined({Kept(zip)}, UnzippedAndInstalled("a_Server.zip", Digest('1')));
    expected =
        Joined(expected, {Progress("UnZipAllInnerPackageZip", "zipfile=" + zip),
                          Progress("UnZipAllInnerPackageZip", "zipfileSha256=" + Digest('1'))});
    expected = Joined(expected, Unzipped("a_Server.zip"));
    expected = Joined(
        expected, {Failure("AppendInstallScript", "Invalid:platform=arm64,vekTellPlatform=x86")});
    expected = Joined(expected, UnzippedAndInstalled("a_Server.zip", Digest('1')));
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_EQ(ScriptedServices::Get().digestCalls.size(), 1U);
}

TEST_F(InstallList, InstallsAllZipsWithSameDigest) {
    Zip("a_Server.zip", Digest('1'));
    Zip("b_Server.zip", Digest('1'));
    EXPECT_EQ(Build({Package("", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(ScriptedServices::Get().shellCommands,
                ElementsAre(UnzipCommand("a_Server.zip"), UnzipCommand("b_Server.zip")));
}

TEST_F(InstallList, ComparesFirst64CharactersOfDigest) {
    const struct {
        std::string zip;
        std::string record;
        bool match;
    } cases[] = {
        {Digest('a'), Digest('a'), true},
        {Digest('a'), Digest('a') + "bcd", true},  // a field of 68 without room for a NUL is 67
        {Digest('a') + "x", Digest('a') + "yyyy", true},
        {Digest('a'), Digest('A'), false},
        {Digest('a'), Digest('a').substr(1), false},
        {Digest('a').substr(1), Digest('a'), false},
        {"", Digest('a'), false},
        {Digest('a'), "", false},
        {"", "", true},  // a zip that cannot be read and a record without a digest
        {"short", "short", true},
        {"short", "shorter", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.zip + " " + c.record);
        ScriptedServices::Get().shellCommands.clear();
        Zip("a_Server.zip", c.zip);
        EXPECT_EQ(Build({Package("", c.record, "arm64")}), 0);
        EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), c.match ? 1U : 0U);
    }
}

TEST_F(InstallList, ContinuesAfterFailedInstallation) {
    const std::string a = Zip("a_Server.zip", Digest('1'));
    Zip("b_Server.zip", Digest('1'));
    fs::remove(packages_ + "a_Server/FileList.ini");
    EXPECT_EQ(Build({Package("", Digest('1'), "arm64")}), 0);
    EXPECT_THAT(RecordingLogger::Records(),
                testing::Contains(Failure("AppendInstallScript", "ExecuteInstallCommand Failed")));
    EXPECT_EQ(ScriptedServices::Get().shellCommands.size(), 2U);
}

TEST_F(InstallList, PassesPlatformThatFillsItsField) {
    Zip("a_Server.zip", Digest('1'));
    const std::string platform(64, 'p');
    ZnPackageInfo package = Package("", Digest('1'), platform);
    package.packageName[0] = 'x';  // what follows the field in the record
    EXPECT_EQ(Build({package}), 0);
    EXPECT_EQ(RecordingLogger::Records().back(),
              Failure("AppendInstallScript", "Invalid:platform=arm64,vekTellPlatform=" + platform));
}

TEST_F(InstallList, StopsWhenPackageZipCannotBeUnpacked) {
    const std::string a = Zip("a_Server.zip", Digest('1'));
    const std::string b = Zip("b_Server.zip", Digest('1'));
    const std::string c = Zip("c_Server.zip", Digest('1'));
    // The zip is removed after it was hashed, which makes unpacking fail.
    ScriptedServices::Get().fileSha256 = [&](const std::string& path) {
        if (path == b) {
            fs::remove(b);
        }
        return digests_[path];
    };
    EXPECT_EQ(Build({Package("", Digest('1'), "arm64")}), kFailed);
    Records expected =
        Joined({Kept(a), Kept(b), Kept(c)}, UnzippedAndInstalled("a_Server.zip", Digest('1')));
    expected =
        Joined(expected, {Progress("UnZipAllInnerPackageZip", "zipfile=" + b),
                          Progress("UnZipAllInnerPackageZip", "zipfileSha256=" + Digest('1')),
                          Failure("UnZipVcPackage", "Not Find zipfile=" + b),
                          Failure("UnZipAllInnerPackageZip", "UnZipVcPackage Failed")});
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_THAT(ScriptedServices::Get().digestCalls, ElementsAre(a, b));
}
