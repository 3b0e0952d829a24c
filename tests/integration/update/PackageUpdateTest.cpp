// Package update with the default services, real zips and the real unzip, in a private mount
// namespace.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "PolicyStore.h"
#include "PrivateMounts.h"
#include "RealZips.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;
constexpr int kId = 4711;

const std::string kStored =
    "/usr/local/vornserver/bin/microservices/Package/VEK_Microservices_UpdateInfo.json";
const std::string kDebugFile =
    "/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini";
const std::string kDescription =
    R"({"packageInfo": [{"packageName": "sound_Server_1.0.zip", "platform": "Model-A",)"
    R"( "sha256Hash": "00ff", "size": "706"}, {"packageName": "M\u00fcller.zip"}]})";

// RAII: sets an environment variable and restores it.
class EnvironmentVariable {
   public:
    EnvironmentVariable(const char* name, const std::string& value) : name_(name) {
        const char* before = getenv(name);
        wasSet_ = before != nullptr;
        before_ = wasSet_ ? before : "";
        setenv(name, value.c_str(), 1);
    }
    ~EnvironmentVariable() {
        if (wasSet_) {
            setenv(name_, before_.c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

   private:
    const char* name_;
    bool wasSet_;
    std::string before_;
};

class PackageUpdate : public testing::Test {
   protected:
    PackageUpdate() : processDirectory_("ZN_PROCESS_DIRECTORY", temporary_.Path()) {
        EmptyPrivateMounts();
    }

    std::string Package() const {
        return temporary_.Path() + "/microservices//Package/";
    }

    // The names in a directory.
    static std::set<std::string> NamesIn(const std::string& directory) {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory)) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    TemporaryDirectory temporary_;
    EnvironmentVariable processDirectory_;
};

// --- The update description ---

class PublishedDescription : public PackageUpdate {
   protected:
    PublishedDescription() {
        fs::create_directories(fs::path(kStored).parent_path());
        EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    }

    // Publishes an enabled policy with `items`, given as XML.
    static void Publish(const std::string& items) {
        PolicyStore().Publish(kId,
                              "<Policy><PolicyName>p</PolicyName>"
                              "<VirtualChannelEnable>1</VirtualChannelEnable>" +
                                  items + "</Policy>",
                              "policy.xml");
    }

    int Read() {
        return ZnVcUpdate::ZnVmVekJsonUpdateInfo(kId, text_);
    }

    static std::string Base64(const std::string& text) {
        const TemporaryDirectory directory;
        WriteFile(directory / "text", text);
        return OutputOf("base64 " + directory / "text");
    }

    std::string text_;
};

TEST_F(PublishedDescription, IsDecodedFromBase64AndStored) {
    Publish("<VirtualChannelPluginDetails>" + Base64(kDescription) +
            "</VirtualChannelPluginDetails>");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(ReadFile(kStored), kDescription);
}

TEST_F(PublishedDescription, IsStoredUnchangedWhenPlain) {
    Publish("<VirtualChannelPluginDetails>" + kDescription + "</VirtualChannelPluginDetails>");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(ReadFile(kStored), kDescription);
}

TEST_F(PublishedDescription, IsConvertedToRecords) {
    Publish("<VirtualChannelPluginDetails>" + Base64(kDescription) +
            "</VirtualChannelPluginDetails>");
    ASSERT_EQ(Read(), kSuccess);
    std::vector<ZnPackageInfo> records;
    EXPECT_EQ(ZnVcUpdate::ZnConvertToVekPackInfo(text_, records), kSuccess);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_STREQ(records[0].packageName, "sound_Server_1.0.zip");
    EXPECT_STREQ(records[0].platform, "Model-A");
    EXPECT_STREQ(records[0].sha256Hash, "00ff");
    EXPECT_EQ(records[0].size, 706);
    EXPECT_STREQ(records[1].packageName, "M\xC3\xBCller.zip");
    EXPECT_EQ(records[1].size, 0);
}

TEST_F(PublishedDescription, IsRefusedWhenNeitherPlainNorBase64) {
    WriteFile(kStored, "what was stored before");
    for (const char* details : {"{}", "not Base64!", "eA==", "e30="}) {
        SCOPED_TRACE(details);
        Publish(std::string("<VirtualChannelPluginDetails>") + details +
                "</VirtualChannelPluginDetails>");
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(ReadFile(kStored), "what was stored before");
    }
}

TEST_F(PublishedDescription, IsReturnedWhenItCannotBeStored) {
    fs::remove(fs::path(kStored).parent_path());
    Publish("<VirtualChannelPluginDetails>" + kDescription + "</VirtualChannelPluginDetails>");
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, kDescription);
    EXPECT_FALSE(fs::exists(kStored));
}

TEST_F(PublishedDescription, ComesFromDebugItemWhenEnabled) {
    Publish(
        "<VirtualChannelPluginDetails>x</VirtualChannelPluginDetails>"
        "<ThirdPartyPluginNames>" +
        kDescription + "</ThirdPartyPluginNames>");
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");

    WriteFile(kDebugFile, "[PolicyName]\ndebugVc=2\n");
    EXPECT_EQ(Read(), kFailure);

    WriteFile(kDebugFile, "[PolicyName]\ndebugVc=1\n");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(ReadFile(kStored), kDescription);
}

TEST_F(PublishedDescription, IsMissingWithoutPolicy) {
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");
}

// --- The package tree ---

TEST_F(PackageUpdate, CreatesTreeInProcessDirectory) {
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    EXPECT_THAT(NamesIn(temporary_ / "microservices"), ElementsAre("Package"));
    EXPECT_THAT(NamesIn(Package()), ElementsAre("Client", "Server"));
}

TEST_F(PackageUpdate, CreatesDirectoryForClientPackage) {
    std::string microservices;
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroservicePackagePath("download", "sound_Client_1.0.zip",
                                                          microservices),
              kSuccess);
    EXPECT_EQ(microservices, temporary_ / "microservices/");
    EXPECT_THAT(NamesIn(microservices), ElementsAre("Package", "download"));
    EXPECT_THAT(NamesIn(Package() + "Client"), ElementsAre("sound_Client_1.0_Release"));
}

TEST_F(PackageUpdate, FailsWhenProcessDirectoryIsFile) {
    WriteFile(temporary_ / "file", "");
    const EnvironmentVariable file("ZN_PROCESS_DIRECTORY", temporary_ / "file");
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kFailure);
}

// --- Scan ---

TEST_F(PackageUpdate, ScansDigestsAndSizesOfSystemTools) {
    MakeZip(Package() + "Server/sound_Server_1.0.zip", {{"FileList.ini", "[a]\n"}});
    MakeZip(Package() + "Client/print_Client_2.0.zip",
            {{"Common/lib.so", std::string(100000, 'x')}});
    MakeZip(Package() + "Client/bundle_Client_Release.zip", {{"a", "b"}});
    WriteFile(Package() + "readme.txt", "not a zip");
    WriteFile(Package() + "empty.zip", "");

    std::vector<ZnPackageInfo> records;
    EXPECT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(Package(), records), kSuccess);
    std::map<std::string, ZnPackageInfo> byName;
    for (const ZnPackageInfo& record : records) {
        byName[record.packageName] = record;
    }
    ASSERT_EQ(records.size(), 2U);
    for (const std::string path : {"Server/sound_Server_1.0.zip", "Client/print_Client_2.0.zip"}) {
        const ZnPackageInfo& record = byName.at(path.substr(path.find('/') + 1));
        EXPECT_EQ(record.sha256Hash, Sha256Of(Package() + path));
        EXPECT_EQ(static_cast<uintmax_t>(record.size), fs::file_size(Package() + path));
    }
}

TEST_F(PackageUpdate, KeepsScannedNamesOfUpTo63Characters) {
    const std::string zips = temporary_ / "zips";
    for (const size_t length : {63U, 64U, 255U}) {
        MakeZip(zips + "/" + std::string(length - 4, 'n') + ".zip", {{"a", "b"}});
    }
    std::vector<ZnPackageInfo> records;
    EXPECT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(zips, records), kSuccess);
    std::vector<std::string> names;
    for (const ZnPackageInfo& record : records) {
        names.emplace_back(record.packageName);
        EXPECT_EQ(std::string(record.sha256Hash).size(), 64U);
        EXPECT_GT(record.size, 0);
    }
    EXPECT_THAT(names, UnorderedElementsAre(std::string(59, 'n') + ".zip", "", ""));
}

TEST_F(PackageUpdate, ScansEmptyAndMissingDirectories) {
    std::vector<ZnPackageInfo> records(1);
    fs::create_directory(temporary_ / "zips");
    EXPECT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(temporary_ / "zips", records), kSuccess);
    EXPECT_THAT(records, IsEmpty());
    records.resize(1);
    EXPECT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(temporary_ / "nowhere", records), kFailure);
    EXPECT_THAT(records, IsEmpty());
}

// --- Unzip ---

TEST_F(PackageUpdate, UnpacksZipNextToItself) {
    const std::string zip = temporary_ / "zips/sound_1.0.zip";
    MakeZip(zip, {{"FileList.ini", "[a]\n"}, {"Common/lib.so", "library"}});
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(zip), kSuccess);
    EXPECT_THAT(NamesIn(temporary_ / "zips"), ElementsAre("sound_1.0", "sound_1.0.zip"));
    EXPECT_EQ(ReadFile(temporary_ / "zips/sound_1.0/FileList.ini"), "[a]\n");
    EXPECT_EQ(ReadFile(temporary_ / "zips/sound_1.0/Common/lib.so"), "library");
}

TEST_F(PackageUpdate, OverwritesFilesAndKeepsOthers) {
    MakeZip(temporary_ / "zips/a.zip", {{"file", "new"}});
    WriteFile(temporary_ / "zips/a/file", "old and longer");
    WriteFile(temporary_ / "zips/a/other", "stays");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "zips/a.zip"), kSuccess);
    EXPECT_EQ(ReadFile(temporary_ / "zips/a/file"), "new");
    EXPECT_EQ(ReadFile(temporary_ / "zips/a/other"), "stays");
}

TEST_F(PackageUpdate, UnpacksIntoNameUpToFirstZip) {
    const struct {
        std::string name;
        std::string target;
    } cases[] = {
        {"x.zip.part", "x"},
        {"y.zip.bak.zip", "y"},
        {std::string(251, 'n') + ".zip", std::string(251, 'n')},
    };
    for (const auto& c : cases) {
        MakeZip(temporary_ / "zips/" + c.name, {{"file", c.name}});
        EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "zips/" + c.name), kSuccess);
        EXPECT_EQ(ReadFile(temporary_ / "zips/" + c.target + "/file"), c.name);
    }
}

// A file that the command opens would take the number of a closed descriptor and receive what the
// command prints.
TEST_F(PackageUpdate, ClosedStandardDescriptorsDoNotCorruptUnpackedFiles) {
    const std::map<std::string, std::string> files = {
        {"a", std::string(100, 'a')}, {"b", std::string(1000, 'b')}, {"c", "c"}};
    const std::string zip = temporary_ / "zips/a.zip";
    MakeZip(zip, files);
    const std::set<int> cases[] = {{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};
    for (const std::set<int>& closed : cases) {
        SCOPED_TRACE(testing::PrintToString(closed));
        fs::remove_all(temporary_ / "zips/a");
        const ProcessResult result = RunInChild([&] {
            std::for_each(closed.begin(), closed.end(), close);
            std::exit(ZnVcUpdate::UnZipVcPackage(zip) == kSuccess ? 0 : 1);
        });
        EXPECT_TRUE(result.Succeeded());
        for (const auto& [name, text] : files) {
            EXPECT_EQ(ReadFile(temporary_ / ("zips/a/" + name)), text);
        }
    }
}

// Such a descriptor is closed when the command starts.
TEST_F(PackageUpdate, CloseOnExecStandardDescriptorsDoNotCorruptUnpackedFiles) {
    const std::map<std::string, std::string> files = {
        {"a", std::string(100, 'a')}, {"b", std::string(1000, 'b')}, {"c", "c"}};
    const std::string zip = temporary_ / "zips/a.zip";
    MakeZip(zip, files);
    const std::set<int> cases[] = {{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};
    for (const std::set<int>& descriptors : cases) {
        SCOPED_TRACE(testing::PrintToString(descriptors));
        fs::remove_all(temporary_ / "zips/a");
        const ProcessResult result = RunInChild([&] {
            for (const int descriptor : descriptors) {
                close(descriptor);
                open((temporary_ / "host's file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            }
            bool good = ZnVcUpdate::UnZipVcPackage(zip) == kSuccess;
            for (const int descriptor : descriptors) {
                good = good && fcntl(descriptor, F_GETFD) == FD_CLOEXEC;
            }
            std::exit(good ? 0 : 1);
        });
        EXPECT_TRUE(result.Succeeded());
        for (const auto& [name, text] : files) {
            EXPECT_EQ(ReadFile(temporary_ / ("zips/a/" + name)), text);
        }
        EXPECT_THAT(ReadFile(temporary_ / "host's file"), Not(HasSubstr("Archive:")));
    }
}

TEST_F(PackageUpdate, SucceedsWithoutUnzipOnSearchPath) {
    MakeZip(temporary_ / "zips/a.zip", {{"file", "text"}});
    const EnvironmentVariable path("PATH", temporary_ / "no programs here");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "zips/a.zip"), kSuccess);
    EXPECT_THAT(NamesIn(temporary_ / "zips"), ElementsAre("a.zip"));
}

TEST_F(PackageUpdate, SucceedsWithoutUnpackingDamagedZip) {
    WriteFile(temporary_ / "zips/a.zip", "text");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "zips/a.zip"), kSuccess);
    EXPECT_THAT(NamesIn(temporary_ / "zips"), ElementsAre("a.zip"));
}

TEST_F(PackageUpdate, DoesNotUnpackPathWithBlanks) {
    MakeZip(temporary_ / "zips/a b.zip", {{"file", "text"}});
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "zips/a b.zip"), kSuccess);
    EXPECT_THAT(NamesIn(temporary_ / "zips"), ElementsAre("a b.zip"));
}

}  // namespace
