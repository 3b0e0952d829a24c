// ZnScanLocalZipFiles and UnZipVcPackage.
#include <cstring>
#include <filesystem>
#include <vector>

#include "UpdateTest.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

class LocalScan : public UpdateTest {
   protected:
    LocalScan() : zips_(temporary_ / "zips") {
        fs::create_directory(zips_);
    }

    int Scan(const std::string& directory) {
        return ZnVcUpdate::ZnScanLocalZipFiles(directory, records_);
    }

    // Scans a directory that holds `paths`, each of `size` bytes and with the digest `sha`.
    int ScanScripted(const std::vector<std::string>& paths, long long size = 1000,
                     const std::string& sha = "digest") {
        ScriptedFiles::Get().scan = [=](const std::string&, std::vector<std::string>& files) {
            files = paths;
            return 0;
        };
        ScriptedFiles::Get().fileSize = [=](const std::string&) { return size; };
        ScriptedServices::Get().fileSha256 = [=](const std::string&) { return sha; };
        return Scan(zips_);
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const ZnPackageInfo& record : records_) {
            names.emplace_back(record.packageName);
        }
        return names;
    }

    static Logged Says(const std::string& text) {
        return Progress("ZnScanLocalZipFiles", text);
    }
    static Logged Complains(const std::string& text) {
        return Failure("ZnScanLocalZipFiles", text);
    }

    std::string zips_;
    // Not empty: every call clears it.
    std::vector<ZnPackageInfo> records_{3};
};

class UnZip : public UpdateTest {
   protected:
    static std::vector<std::string>& Commands() {
        return ScriptedServices::Get().shellCommands;
    }

    static Logged Says(const std::string& text) {
        return Progress("UnZipVcPackage", text);
    }
    static Logged Complains(const std::string& text) {
        return Failure("UnZipVcPackage", text);
    }
};

// --- Scan ---

TEST_F(LocalScan, ListsUsableZips) {
    WriteFile(zips_ + "/a.zip", "contents of a zip");
    WriteFile(zips_ + "/b_Release.zip", "an unpacked bundle");
    WriteFile(zips_ + "/c.txt", "not a zip");
    WriteFile(zips_ + "/d.zip", "1");
    EXPECT_EQ(Scan(zips_), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].packageName, "a.zip");
    EXPECT_EQ(records_[0].size, 17);
    EXPECT_EQ(records_[0].sha256Hash, ScriptedServices::Get().fileSha256(zips_ + "/a.zip"));
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Says("scanFiles[0]=" + zips_ + "/a.zip"),
                            Says("localPackInfo.size=1")));
}

TEST_F(LocalScan, LeavesOtherFieldsZero) {
    EXPECT_EQ(ScanScripted({"/d/a.zip"}, 5, "0123"), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    ZnPackageInfo expected = {};
    std::strcpy(expected.packageName, "a.zip");
    std::strcpy(expected.sha256Hash, "0123");
    expected.size = 5;
    EXPECT_EQ(std::memcmp(records_.data(), &expected, sizeof expected), 0);
}

TEST_F(LocalScan, DoesNotHashSkippedFiles) {
    WriteFile(zips_ + "/a.zip", "contents");
    WriteFile(zips_ + "/b_Release.zip", "contents");
    WriteFile(zips_ + "/c.txt", "contents");
    WriteFile(zips_ + "/d.zip", "1");
    fs::create_directories(temporary_ / "microservices/Package/Client");
    fs::create_directories(temporary_ / "microservices/Package/Server");
    Scan(zips_);
    EXPECT_THAT(ScriptedFiles::Get().calls,
                ElementsAre("scan " + zips_, "size " + zips_ + "/a.zip",
                            "size " + zips_ + "/b_Release.zip", "size " + zips_ + "/d.zip"));
    EXPECT_THAT(ScriptedServices::Get().digestCalls, ElementsAre(zips_ + "/a.zip"));
}

TEST_F(LocalScan, KeepsOrderOfScan) {
    EXPECT_EQ(ScanScripted({"/d/z.zip", "/d/readme", "/d/a.zip", "/d/m.zip"}), kSuccess);
    EXPECT_THAT(Names(), ElementsAre("z.zip", "a.zip", "m.zip"));
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(TreeRecord(), Says("scanFiles[0]=/d/z.zip"), Says("scanFiles[2]=/d/a.zip"),
                    Says("scanFiles[3]=/d/m.zip"), Says("localPackInfo.size=3")));
}

TEST_F(LocalScan, FindsZipAnywhereInPath) {
    EXPECT_EQ(ScanScripted({"/d/a.zip.bak", "/d.zip/readme", "/d/.zip", "/d/azip", "/d/a.ZIP"}),
              kSuccess);
    EXPECT_THAT(Names(), ElementsAre("a.zip.bak", "readme", ".zip"));
}

TEST_F(LocalScan, RecognizesBundleByFileName) {
    EXPECT_EQ(ScanScripted({"/d/a_Release.zip", "/d/a_Release.zip.bak", "/d_Release.zip/a.zip",
                            "/d/a_release.zip", "/d/a_Release_1.zip"}),
              kSuccess);
    EXPECT_THAT(Names(), ElementsAre("a.zip", "a_release.zip", "a_Release_1.zip"));
}

TEST_F(LocalScan, SkipsPathWithoutDirectoryOrName) {
    EXPECT_EQ(ScanScripted({"a.zip", "/d.zip/", "/d/b.zip"}), kSuccess);
    EXPECT_THAT(Names(), ElementsAre("b.zip"));
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Complains("Invalid:0,0"), Complains("Invalid:7,0"),
                            Says("scanFiles[2]=/d/b.zip"), Says("localPackInfo.size=1")));
}

TEST_F(LocalScan, RequiresTwoBytesIn32BitSize) {
    constexpr long long kFourGiB = 1LL << 32;
    const struct {
        long long size;
        std::vector<int> listed;
    } cases[] = {
        {2, {2}},
        {2147483647, {2147483647}},
        {kFourGiB + 2, {2}},
        {1, {}},
        {0, {}},
        {-1, {}},
        {2147483648, {}},
        {kFourGiB, {}},
        {kFourGiB + 1, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        EXPECT_EQ(ScanScripted({"/d/a.zip"}, c.size), kSuccess);
        std::vector<int> sizes;
        for (const ZnPackageInfo& record : records_) {
            sizes.push_back(record.size);
        }
        EXPECT_EQ(sizes, c.listed);
    }
}

TEST_F(LocalScan, LeavesTooLongNameEmpty) {
    for (const size_t length : {size_t{63}, size_t{64}, size_t{65}, size_t{255}}) {
        SCOPED_TRACE(length);
        RecordingLogger::Clear();
        const std::string name = std::string(length - 4, 'n') + ".zip";
        EXPECT_EQ(ScanScripted({"/d/" + name}, 42, "0123"), kSuccess);
        ASSERT_EQ(records_.size(), 1U);
        EXPECT_EQ(records_[0].packageName, length < 64 ? name : "");
        EXPECT_STREQ(records_[0].sha256Hash, "0123");
        EXPECT_EQ(records_[0].size, 42);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(TreeRecord(), Says("scanFiles[0]=/d/" + name),
                                Says("localPackInfo.size=1")));
    }
}

TEST_F(LocalScan, ListsFileWithoutDigest) {
    EXPECT_EQ(ScanScripted({"/d/a.zip"}, 42, ""), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].packageName, "a.zip");
    EXPECT_STREQ(records_[0].sha256Hash, "");
}

TEST_F(LocalScan, LeavesTooLongDigestEmpty) {
    EXPECT_EQ(ScanScripted({"/d/a.zip"}, 42, std::string(67, 'f')), kSuccess);
    EXPECT_EQ(records_.at(0).sha256Hash, std::string(67, 'f'));
    EXPECT_EQ(ScanScripted({"/d/a.zip"}, 42, std::string(68, 'f')), kSuccess);
    EXPECT_STREQ(records_.at(0).sha256Hash, "");
    EXPECT_STREQ(records_.at(0).packageName, "a.zip");
}

TEST_F(LocalScan, ReturnsEmptyListForEmptyDirectory) {
    EXPECT_EQ(Scan(zips_), kSuccess);
    EXPECT_THAT(records_, IsEmpty());
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Says("localPackInfo.size=0")));
}

TEST_F(LocalScan, FailsForMissingDirectory) {
    EXPECT_EQ(Scan("/nowhere"), kFailure);
    EXPECT_THAT(records_, IsEmpty());
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Complains("Not Exsit:/nowhere")));
}

TEST_F(LocalScan, CreatesPackageTreeFirst) {
    EXPECT_EQ(Scan(Package()), kSuccess);
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/Package/Server"));
}

TEST_F(LocalScan, ScansWithoutPackageTree) {
    ScriptedFiles::Get().mkDir = [](const std::string&, unsigned short) { return -1; };
    EXPECT_EQ(ScanScripted({"/d/a.zip"}), kSuccess);
    EXPECT_THAT(Names(), ElementsAre("a.zip"));
}

TEST_F(LocalScan, IgnoresResultOfScan) {
    ScriptedFiles::Get().scan = [](const std::string&, std::vector<std::string>& files) {
        files = {"/d/a.zip"};
        return -1;
    };
    ScriptedFiles::Get().fileSize = [](const std::string&) { return 5; };
    EXPECT_EQ(Scan(zips_), kSuccess);
    EXPECT_THAT(Names(), ElementsAre("a.zip"));
}

TEST_F(LocalScan, LogsSourceFile) {
    ScanScripted({"/d/a.zip", "a.zip"});
    EXPECT_THAT(RecordingLogger::Origins(),
                AllOf(Not(IsEmpty()), Each(Field(&LogOrigin::file, "ZnVcUpdate.cpp"))));
}

// --- Unzip ---

TEST_F(UnZip, UnpacksZipNextToItself) {
    const std::string zip = temporary_ / "abc_1.0.zip";
    const std::string directory = temporary_ / "";
    WriteFile(zip, "zip");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(zip), kSuccess);
    const std::string args = " -o " + zip + " -d " + directory + "/abc_1.0";
    EXPECT_THAT(Commands(), ElementsAre("unzip " + args));
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(Says("zipfile=" + zip), Says("filePrefix=" + directory),
                    Says("fileSuffix=abc_1.0.zip"), Says("pos=7,thinFilePath=abc_1.0"),
                    Says("args=" + args),
                    Progress("ShellCall", "exeName=unzip,args=" + args + ",timeoutMs=120000"),
                    Progress("ShellCall", "cmd=unzip " + args)));
}

TEST_F(UnZip, UnpacksIntoNameUpToFirstZip) {
    const struct {
        const char* path;
        const char* trace;
        const char* target;
    } cases[] = {
        {"x.zip", "pos=1,thinFilePath=x", "x"},
        {"x.zip.part", "pos=1,thinFilePath=x", "x"},
        {"x.zip.y.zip", "pos=1,thinFilePath=x", "x"},
        {".zip", "pos=0,thinFilePath=", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        RecordingLogger::Clear();
        Commands().clear();
        const std::string zip = temporary_ / c.path;
        WriteFile(zip, "zip");
        EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(zip), kSuccess);
        EXPECT_EQ(RecordingLogger::Records().at(3), Says(c.trace));
        EXPECT_THAT(Commands(),
                    ElementsAre("unzip  -o " + zip + " -d " + temporary_.Path() + "//" + c.target));
    }
}

TEST_F(UnZip, AcceptsFileInZipDirectory) {
    const std::string file = temporary_ / "d.zip/readme";
    WriteFile(file, "text");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(file), kSuccess);
    EXPECT_EQ(RecordingLogger::Records().at(3), Says("pos=-1,thinFilePath=readme"));
    EXPECT_THAT(Commands(),
                ElementsAre("unzip  -o " + file + " -d " + temporary_.Path() + "/d.zip//readme"));
}

TEST_F(UnZip, UnpacksPathWithoutDirectoryIntoRoot) {
    const fs::path before = fs::current_path();
    fs::current_path(temporary_.Path());
    WriteFile(temporary_ / "x.zip", "zip");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage("x.zip"), kSuccess);
    fs::current_path(before);
    EXPECT_THAT(Commands(), ElementsAre("unzip  -o x.zip -d /"));
    EXPECT_EQ(RecordingLogger::Records().at(3), Says("pos=-1,thinFilePath="));
}

TEST_F(UnZip, DoesNotQuotePaths) {
    const std::string zip = temporary_ / "a b;c.zip";
    WriteFile(zip, "zip");
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(zip), kSuccess);
    EXPECT_THAT(Commands(),
                ElementsAre("unzip  -o " + zip + " -d " + temporary_.Path() + "//a b;c"));
}

TEST_F(UnZip, ReturnsZeroForAnyOutcome) {
    WriteFile(temporary_ / "x.zip", "not a zip at all");
    ScriptedServices::Get().shell = [](const std::string&) { return 127 * 256; };
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(temporary_ / "x.zip"), kSuccess);
}

TEST_F(UnZip, FailsForMissingFileOrPathWithoutZip) {
    WriteFile(temporary_ / "x.tar", "tar");
    WriteFile(temporary_ / "x.ZIP", "zip");
    for (const char* name : {"x.zip", "x.tar", "x.ZIP"}) {
        RecordingLogger::Clear();
        const std::string path = temporary_ / name;
        EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(path), kFailure);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Complains("Not Find zipfile=" + path)));
    }
    EXPECT_EQ(ZnVcUpdate::UnZipVcPackage(""), kFailure);
    EXPECT_THAT(Commands(), IsEmpty());
}
