// Installation with the default services, real zips and the real unzip, in a private mount
// namespace.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <vector>

#include "PolicyStore.h"
#include "PrivateMounts.h"
#include "RealZips.h"
#include "ZnVcUpdate.h"

using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;

const std::string kMark = "/usr/local/vornserver/bin/microservices/vcUpdated.mark";
const std::string kPlugins = "/usr/local/vornserver/plugins/";
const std::string kConfig = "/usr/local/vornserver/etc/";

using Files = std::map<std::string, std::string>;

// A manifest for `platform` with one path key.
std::string Manifest(const std::string& platform, const std::string& files) {
    return "[Package_Intall_Type]\nPackageIntallType=" + platform + "\n[" + platform +
           "]\nplugins=" + kPlugins + "\n[plugins]\nfiles=" + files + "\n";
}

// A package for Model-A with one path key and these files.
Files PackageOf(const Files& payload) {
    Files files;
    std::string list;
    for (const auto& [name, text] : payload) {
        list += name + ",";
        files["Common/" + name] = text;
    }
    files["FileList.ini"] = Manifest("Model-A", list);
    return files;
}

ZnPackageInfo Record(const std::string& sha256, const std::string& platform = "Model-A",
                     const std::string& url = "") {
    ZnPackageInfo record = {};
    sha256.copy(record.sha256Hash, sizeof record.sha256Hash - 1);
    platform.copy(record.platform, sizeof record.platform - 1);
    url.copy(record.downloadUrl, sizeof record.downloadUrl - 1);
    return record;
}

std::set<std::string> NamesIn(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) {
        names.insert(entry.path().filename());
    }
    return names;
}

}  // namespace

class InstallFlow : public testing::Test {
   protected:
    InstallFlow() {
        EmptyPrivateMounts();
        fs::create_directories(fs::path(kMark).parent_path());
        setenv("ZN_PROCESS_DIRECTORY", process_.Path().c_str(), 1);
        SetMachine("Model-A");
        EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    }

    ~InstallFlow() override {
        unsetenv("ZN_PROCESS_DIRECTORY");
    }

    void SetMachine(const std::string& platform) {
        WriteFile(process_ / "platforminfo.ini", "[os]\nplatform = " + platform + "\r\n");
    }

    // Puts a zip into the package directory and returns its digest.
    std::string Zip(const std::string& name, const Files& files) {
        MakeZip(packages_ + name, files);
        return Sha256Of(packages_ + name);
    }

    int BuildHere(const std::vector<ZnPackageInfo>& records, ZnSide side = SERVER_SIDE) {
        return ZnVcUpdate::BuildVcInstallList(process_ / "microservices", side, records);
    }

    // Builds the list in a process of its own, since a process reads its platform only once.
    int Build(const std::vector<ZnPackageInfo>& records, ZnSide side = SERVER_SIDE) {
        constexpr int kOther = 2;
        const ProcessResult result = RunInChild([&] {
            const int built = BuildHere(records, side);
            std::exit(built == kSuccess ? 0 : built == kFailure ? 1 : kOther);
        });
        EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << result;
        return result.Succeeded() ? kSuccess : kFailure;
    }

    TemporaryDirectory process_;
    const std::string packages_ = process_ / "microservices/Package/";
};

// --- What is installed ---

TEST_F(InstallFlow, UnpacksInstallsAndMarksZip) {
    const std::string digest =
        Zip("Server/sound_Server_1.0.zip", PackageOf({{"a.so", "A"}, {"b.so", "B"}}));
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_THAT(NamesIn(packages_ + "Server/sound_Server_1.0"),
                ElementsAre("Common", "FileList.ini"));
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "b.so"));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "A");
    EXPECT_EQ(ReadFile(kPlugins + "b.so"), "B");
    EXPECT_EQ(ReadFile(kMark), kPlugins + "a.so" + kPlugins + "b.so");
}

TEST_F(InstallFlow, InstallsZipsOfOwnSide) {
    const std::vector<ZnPackageInfo> records = {
        Record(Zip("Server/sound_Server_1.0.zip", PackageOf({{"server.so", "S"}}))),
        Record(Zip("Client/sound_Client_1.0.zip", PackageOf({{"client.so", "C"}})))};
    EXPECT_EQ(Build(records, CLIENT_SIDE), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("client.so"));
    EXPECT_EQ(Build(records, SERVER_SIDE), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("client.so", "server.so"));
}

TEST_F(InstallFlow, DoesNotUnpackZipWithoutRecord) {
    const std::string digest = Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}}));
    Zip("Server/b_Server.zip", PackageOf({{"b.so", "B"}}));
    EXPECT_EQ(Build({Record(digest), Record(std::string(64, '0'))}), kSuccess);
    EXPECT_THAT(NamesIn(packages_ + "Server"),
                ElementsAre("a_Server", "a_Server.zip", "b_Server.zip"));
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so"));
}

TEST_F(InstallFlow, InstallsContentsOfBundleOnNextCall) {
    MakeZip(process_ / "inner_Server.zip", PackageOf({{"a.so", "A"}}));
    Zip("Server/sound_Server_Release.zip",
        {{"inner_Server.zip", ReadFile(process_ / "inner_Server.zip")}});
    const std::vector<ZnPackageInfo> records = {
        Record(Sha256Of(process_ / "inner_Server.zip"), "Model-A",
               "https://host/packages/sound_Server_Release.zip")};
    EXPECT_EQ(Build(records), kSuccess);
    EXPECT_THAT(NamesIn(packages_ + "Server/sound_Server_Release"),
                ElementsAre("inner_Server.zip"));
    EXPECT_FALSE(fs::exists(kPlugins));
    EXPECT_EQ(Build(records), kSuccess);
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "A");
}

TEST_F(InstallFlow, DoesNotUnpackUnnamedBundle) {
    Zip("Server/sound_Server_Release.zip", {{"a", "A"}});
    EXPECT_EQ(Build({Record(std::string(64, '0'), "Model-A", "https://host/other.zip")}), kSuccess);
    EXPECT_THAT(NamesIn(packages_ + "Server"), ElementsAre("sound_Server_Release.zip"));
}

TEST_F(InstallFlow, InstallsZipOnceForEachRecord) {
    WriteFile(kPlugins + "a.so", "old");
    const std::string digest = Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}}));
    EXPECT_EQ(Build({Record(digest), Record(digest, "Model-B"), Record(digest)}), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins),
                ElementsAre("a.so"));  // the second installation removed the backup
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "A");
    EXPECT_FALSE(fs::exists(kMark));
}

TEST_F(InstallFlow, InstallsEachPathKeyAndMarksTheLast) {
    const std::string manifest =
        "\xEF\xBB\xBF; of another system\r\n[plugins]\r\nz=b.so\r\na=a.so,c.so,\r\n"
        "[config]\r\n1=a.conf\r\n[Model-A-rev2]\r\nplugins = " +
        kPlugins + "\r\nconfig = " + kConfig +
        "\r\n[Package_Intall_Type]\r\nPackageIntallType = Model-A-rev2\r\n";
    const std::string digest = Zip("Server/a_Server.zip", {{"FileList.ini", manifest},
                                                           {"Common/a.so", "A"},
                                                           {"Common/b.so", "B"},
                                                           {"Common/c.so", "C"},
                                                           {"Common/a.conf", "conf"},
                                                           {"Common/unlisted", "U"}});
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_THAT(NamesIn(kConfig), ElementsAre("a.conf"));
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "b.so", "c.so"));
    EXPECT_EQ(ReadFile(kMark), kPlugins + "a.so" + kPlugins + "b.so" + kPlugins + "c.so");
}

TEST_F(InstallFlow, InstallsFromPublishedPolicy) {
    const std::string store = process_ / "store";
    setenv("ZN_POLICY_STORE", store.c_str(), 1);
    fs::create_directories("/usr/local/vornserver/bin/microservices/Package");
    Zip("Server/sound_Server_1.0.zip", PackageOf({{"a.so", "A"}}));

    // The update description names the zip by its digest.
    std::vector<ZnPackageInfo> local;
    ASSERT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(packages_, local), kSuccess);
    ASSERT_EQ(local.size(), 1U);
    WriteFile(process_ / "update.json",
              std::string(R"({"packageInfo": [{"packageName": "sound_Server_1.0.zip",)") +
                  R"( "platform": "Model-A", "sha256Hash": ")" + local[0].sha256Hash + R"("}]})");
    PolicyStore().Publish(7,
                          "<Policy><PolicyName>p</PolicyName>"
                          "<VirtualChannelEnable>1</VirtualChannelEnable>"
                          "<VirtualChannelPluginDetails>" +
                              OutputOf("base64 " + process_ / "update.json") +
                              "</VirtualChannelPluginDetails></Policy>",
                          "policy.xml");

    std::string description;
    std::vector<ZnPackageInfo> records;
    EXPECT_EQ(ZnVcUpdate::ZnVmVekJsonUpdateInfo(7, description), kSuccess);
    EXPECT_EQ(ZnVcUpdate::ZnConvertToVekPackInfo(description, records), kSuccess);
    EXPECT_EQ(Build(records), kSuccess);
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "A");
    unsetenv("ZN_POLICY_STORE");
}

// --- New, replaced and unchanged files ---

TEST_F(InstallFlow, KeepsOneBackupOfReplacedFile) {
    for (const char* const version : {"1", "2", "3"}) {
        const std::string digest = Zip("Server/a_Server.zip", PackageOf({{"a.so", version}}));
        EXPECT_EQ(Build({Record(digest)}), kSuccess);
        EXPECT_EQ(ReadFile(kPlugins + "a.so"), version);
        EXPECT_EQ(ReadFile(kMark), kPlugins + "a.so");
    }
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "a.so.bak"));
    EXPECT_EQ(ReadFile(kPlugins + "a.so.bak"), "2");
}

TEST_F(InstallFlow, RemovesBackupsAndMarkOnUnchangedSecondRun) {
    WriteFile(kPlugins + "a.so", "old");
    const std::string digest =
        Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}, {"b.so", "B"}}));
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "a.so.bak", "b.so"));
    struct stat first = {};
    ASSERT_EQ(stat((kPlugins + "a.so").c_str(), &first), 0);

    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    struct stat second = {};
    ASSERT_EQ(stat((kPlugins + "a.so").c_str(), &second), 0);
    EXPECT_EQ(first.st_ino, second.st_ino);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "b.so"));
    EXPECT_FALSE(fs::exists(kMark));
}

TEST_F(InstallFlow, KeepsPermissionsOfPackage) {
    const TemporaryDirectory made;
    WriteFile(made / "FileList.ini", Manifest("Model-A", "run,read"));
    WriteFile(made / "Common/run", "#!");
    WriteFile(made / "Common/read", "text");
    fs::permissions(made / "Common/run", fs::perms(0755));
    fs::permissions(made / "Common/read", fs::perms(0640));
    WriteFile(kPlugins + "run", "old");
    OutputOf("cd " + made.Path() + " && zip -X -qr " + packages_ + "Server/a_Server.zip .");
    EXPECT_EQ(Build({Record(Sha256Of(packages_ + "Server/a_Server.zip"))}), kSuccess);
    EXPECT_EQ(fs::status(kPlugins + "run").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(kPlugins + "read").permissions(), fs::perms(0640));
}

TEST_F(InstallFlow, InstallsLargeFile) {
    std::string large;
    for (int i = 0; large.size() < 3'000'000; ++i) {
        large += std::to_string(i);
    }
    const std::string digest = Zip("Server/a_Server.zip", PackageOf({{"large", large}}));
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_EQ(ReadFile(kPlugins + "large"), large);
}

// --- Failures ---

TEST_F(InstallFlow, KeepsInstalledFilesAfterFailure) {
    WriteFile(kPlugins + "a.so", "old");
    Files package = PackageOf({{"a.so", "A"}, {"c.so", "C"}});
    package["FileList.ini"] = Manifest("Model-A", "a.so,b.so,c.so");
    const std::vector<ZnPackageInfo> records = {
        Record(Zip("Server/1_Server.zip", package)),
        Record(Zip("Server/2_Server.zip", PackageOf({{"other.so", "O"}})))};
    EXPECT_EQ(Build(records), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "a.so.bak", "other.so"));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "A");
    EXPECT_EQ(ReadFile(kPlugins + "a.so.bak"), "old");
}

TEST_F(InstallFlow, StopsAtEmptyFile) {
    const std::string digest =
        Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}, {"b.so", ""}, {"c.so", "C"}}));
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so"));
}

TEST_F(InstallFlow, SucceedsWithoutInstallingDamagedZip) {
    WriteFile(packages_ + "Server/a_Server.zip", "no zip");
    EXPECT_EQ(Build({Record(Sha256Of(packages_ + "Server/a_Server.zip"))}), kSuccess);
    EXPECT_THAT(NamesIn(packages_ + "Server"), ElementsAre("a_Server.zip"));
    EXPECT_FALSE(fs::exists(kPlugins));
}

TEST_F(InstallFlow, SkipsZipWithoutManifest) {
    const std::string digest = Zip("Server/a_Server.zip", {{"Common/a.so", "A"}});
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_FALSE(fs::exists(kPlugins));
}

// The outcome of unpacking is ignored: whatever it leaves is the package.
TEST_F(InstallFlow, InstallsWhatUnzipWroteToFullDisk) {
    const TemporaryDirectory made;
    const std::string whole(3'000'000, 'x');
    WriteFile(made / "FileList.ini", Manifest("Model-A", "a.so"));
    WriteFile(made / "Common/a.so", whole);
    OutputOf("cd " + made.Path() + " && zip -X -qr a_Server.zip FileList.ini Common");
    const std::string digest = Sha256Of(made / "a_Server.zip");

    ASSERT_EQ(mount("tmpfs", packages_.c_str(), "tmpfs", 0, "size=1m"), 0);
    fs::copy(made / "a_Server.zip", packages_);
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_EQ(umount2(packages_.c_str(), MNT_DETACH), 0);
    EXPECT_LT(fs::file_size(kPlugins + "a.so"), whole.size());

    // The next call, with enough space, installs the whole file.
    fs::copy(made / "a_Server.zip", packages_);
    EXPECT_EQ(Build({Record(digest)}), kSuccess);
    EXPECT_EQ(fs::file_size(kPlugins + "a.so"), whole.size());
}

TEST_F(InstallFlow, InstallsNothingBelowMissingParent) {
    Files package = PackageOf({{"a.so", "A"}});
    package["FileList.ini"] =
        "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n"
        "plugins=/usr/local/vornserver/deep/deeper/\n[plugins]\nfiles=a.so\n";
    EXPECT_EQ(Build({Record(Zip("Server/a_Server.zip", package))}), kSuccess);
    EXPECT_FALSE(fs::exists("/usr/local/vornserver/deep"));
}

TEST_F(InstallFlow, FailsWithoutZipOfSideOrPackageDirectory) {
    const std::string digest = Zip("Client/a_Client.zip", PackageOf({{"a.so", "A"}}));
    EXPECT_EQ(Build({Record(digest)}, SERVER_SIDE), kFailure);
    EXPECT_EQ(Build({Record(digest)}, static_cast<ZnSide>(7)), kFailure);
    fs::remove_all(packages_);
    EXPECT_EQ(Build({Record(digest)}, CLIENT_SIDE), kFailure);
    EXPECT_FALSE(fs::exists(kPlugins));
}

// --- Platforms ---

TEST_F(InstallFlow, SkipsPackageForOtherPlatform) {
    Files other = PackageOf({{"b.so", "B"}});
    other["FileList.ini"] = Manifest("Model-B", "b.so");
    Files shorter = PackageOf({{"c.so", "C"}});
    shorter["FileList.ini"] = Manifest("Model", "c.so");
    EXPECT_EQ(Build({Record(Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}})), "Model-B"),
                     Record(Zip("Server/b_Server.zip", other)),
                     Record(Zip("Server/c_Server.zip", shorter))}),
              kSuccess);
    EXPECT_FALSE(fs::exists(kPlugins));
}

TEST_F(InstallFlow, InstallsNothingWithoutPlatform) {
    const std::string digest = Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}}));
    fs::remove(process_ / "platforminfo.ini");
    EXPECT_EQ(Build({Record(digest), Record(digest, "")}), kSuccess);
    EXPECT_FALSE(fs::exists(kPlugins));
    EXPECT_THAT(NamesIn(packages_ + "Server"), ElementsAre("a_Server", "a_Server.zip"));
}

TEST_F(InstallFlow, KeepsPlatformOfFirstInstallation) {
    Files package = PackageOf({{"b.so", "B"}});
    package["FileList.ini"] = Manifest("Model-B", "b.so");
    const std::string a = Zip("Server/a_Server.zip", PackageOf({{"a.so", "A"}}));
    const std::string b = Zip("Server/b_Server.zip", package);
    RunInChild([&] {
        BuildHere({Record(a)});
        SetMachine("Model-B");
        BuildHere({Record(b, "Model-B")});
    });
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so"));
    EXPECT_EQ(Build({Record(b, "Model-B")}), kSuccess);
    EXPECT_THAT(NamesIn(kPlugins), ElementsAre("a.so", "b.so"));
}
