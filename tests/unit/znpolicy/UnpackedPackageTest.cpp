#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PackageError.h"
#include "TestPackage.h"
#include "UnpackedPackage.h"
#include "ZipArchive.h"
#include "ZnVcUpdate.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
namespace fs = std::filesystem;

class UnpackedPackageTest : public testing::Test {
   protected:
    // The size of a file, which tells the files of these tests apart; -1 when there is none.
    int SizeOf(const std::string& name) const {
        const auto facts = UnpackedPackage(test_.Zip()).Look(name);
        return facts ? static_cast<int>(facts->size) : -1;
    }

    const TestPackage test_;
};

TEST_F(UnpackedPackageTest, FilesOfTheZipOverwriteThoseOnDisk) {
    test_.Make({{"Common/a", "1"}});
    WriteFile(test_.Unpacked() + "/Common/a", "22");
    WriteFile(test_.Unpacked() + "/Common/b", "333");
    EXPECT_EQ(SizeOf("Common/a"), 1);
    EXPECT_EQ(SizeOf("Common/b"), 3);
    EXPECT_EQ(SizeOf("Common/c"), -1);
    EXPECT_EQ(SizeOf("Common"), -1);
}

TEST_F(UnpackedPackageTest, FollowsLinks) {
    const TemporaryDirectory contents;
    WriteFile(contents / "Common/file", "1");
    WriteFile(contents / "outside", "22");
    fs::create_symlink("file", contents / "Common/relative");
    fs::create_symlink(contents / "outside", contents / "Common/absolute");
    fs::create_symlink("relative", contents / "Common/twice");
    fs::create_symlink("loop", contents / "Common/loop");
    fs::create_symlink("missing", contents / "Common/dangling");
    fs::remove(test_.Zip());
    OutputOf("cd " + contents.Path() + " && zip -qry " + test_.Zip() + " Common");
    EXPECT_EQ(SizeOf("Common/relative"), 1);
    EXPECT_EQ(SizeOf("Common/twice"), 1);
    EXPECT_EQ(SizeOf("Common/absolute"), 2);
    EXPECT_EQ(SizeOf("Common/loop"), -1);
    EXPECT_EQ(SizeOf("Common/dangling"), -1);
}

TEST_F(UnpackedPackageTest, ReadsManifest) {
    EXPECT_EQ(UnpackedPackage(test_.Zip()).ReadManifest("M").paths.size(), 1U);
    test_.Make({{"Common/a", "1"}});
    EXPECT_THAT([&] { (void)UnpackedPackage(test_.Zip()).ReadManifest("M"); },
                ThrowsMessage<PackageError>("there is no " + test_.Unpacked() + "/FileList.ini"));
    WriteFile(test_.Unpacked() + "/FileList.ini", test_.Manifest());
    EXPECT_EQ(UnpackedPackage(test_.Zip()).ReadManifest("M").paths.size(), 1U);
}

TEST_F(UnpackedPackageTest, ReadsADirectoryWithoutZip) {
    WriteFile(test_.Unpacked() + "/FileList.ini", test_.Manifest());
    WriteFile(test_.Unpacked() + "/Common/a", "333");
    const UnpackedPackage package = UnpackedPackage::InDirectory(test_.Unpacked());
    EXPECT_EQ(package.ReadManifest("M").paths.size(), 1U);
    EXPECT_EQ(package.Look("Common/a")->size, 3U);
    EXPECT_FALSE(package.Look("Common/b"));
}

TEST_F(UnpackedPackageTest, ExtractsFilesOnly) {
    const UnpackedPackage package(test_.Zip());
    EXPECT_TRUE(package.Extract("Common/a", test_.To() + "out"));
    EXPECT_EQ(ReadFile(test_.To() + "out"), "1");
    EXPECT_FALSE(package.Extract("Common", test_.To() + "out"));
    EXPECT_FALSE(package.Extract("missing", test_.To() + "out"));
}

TEST_F(UnpackedPackageTest, FindsWhatWasNotUnpacked) {
    EXPECT_EQ(UnpackedPackage(test_.Zip()).FirstNotUnpacked(), test_.Unpacked() + "/Common");
    OutputOf("unzip -q " + test_.Zip() + " -d " + test_.Unpacked());
    EXPECT_EQ(UnpackedPackage(test_.Zip()).FirstNotUnpacked(), "");
    WriteFile(test_.Unpacked() + "/Common/b", "3");
    EXPECT_EQ(UnpackedPackage(test_.Zip()).FirstNotUnpacked(), test_.Unpacked() + "/Common/b");
}

TEST_F(UnpackedPackageTest, PlansOnlyTheLastOfSeveralEntriesAtOnePath) {
    WriteFile(test_.To() + "first", "1");
    WriteFile(test_.To() + "second", "22");
    WriteZip(test_.Zip(), {{"a", test_.To() + "first"}, {"./a", test_.To() + "second"}});
    const PlannedUnpacking plan = UnpackedPackage(test_.Zip()).PlanUnpacking(test_.Zip());
    ASSERT_EQ(plan.entries.size(), 1U);
    EXPECT_EQ(plan.entries.at(0).size, 2U);
    EXPECT_TRUE(plan.problems.empty());
}

TEST_F(UnpackedPackageTest, FindsLinkThatWasNotUnpacked) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "Common");
    fs::create_symlink("a", directory / "Common/link");
    OutputOf("cd " + directory.Path() + " && zip -qy " + test_.Zip() + " Common/link && unzip -q " +
             test_.Zip() + " -d " + test_.Unpacked());
    EXPECT_EQ(UnpackedPackage(test_.Zip()).FirstNotUnpacked(), "");
    fs::remove(test_.Unpacked() + "/Common/link");
    WriteFile(test_.Unpacked() + "/Common/link", "a");
    EXPECT_EQ(UnpackedPackage(test_.Zip()).FirstNotUnpacked(), test_.Unpacked() + "/Common/link");
}

// The library decides where a zip is unpacked and where it is installed from.
TEST_F(UnpackedPackageTest, UnpackedPathIsTheOneThatTheLibraryUses) {
    for (const std::string name : {"P.zip", "P.1.zip", "P.zip.old", "P.zip.zip", "a.b/P.zip"}) {
        const TemporaryDirectory directory;
        const std::string zip = directory / name;
        MakeZip(zip, {{"file", "contents"}});
        const UnpackedPackage package(zip);
        const ProcessResult result = RunInChild([&] { ZnVcUpdate::UnZipVcPackage(zip); });
        ASSERT_TRUE(result.Succeeded()) << result;
        EXPECT_EQ(ReadFile(package.UnpackedPath() + "/file"), "contents") << name;
        EXPECT_EQ(package.UnpackedPath() == package.InstallPath(),
                  name.find(".zip") == name.rfind('.'))
            << name;
    }
}

TEST_F(UnpackedPackageTest, ZipWithOddNameIsInstalledFromTheDisk) {
    const std::string zip = test_.Zip() + ".old";
    fs::rename(test_.Zip(), zip);
    const UnpackedPackage package(zip);
    EXPECT_EQ(package.UnpackedPath(), test_.Unpacked());
    EXPECT_EQ(package.InstallPath(), test_.Zip());
    EXPECT_FALSE(package.Look("Common/a"));
}

TEST_F(UnpackedPackageTest, ReportsDamagedZip) {
    WriteFile(test_.Zip(), "no zip");
    EXPECT_THAT([&] { UnpackedPackage package(test_.Zip()); },
                ThrowsMessage<PackageError>(HasSubstr(test_.Zip())));
}

}  // namespace
