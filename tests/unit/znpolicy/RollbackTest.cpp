#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PackageError.h"
#include "Rollback.h"
#include "TestPackage.h"
#include "ZipHeader.h"

namespace {

namespace fs = std::filesystem;

class RollbackTest : public testing::Test {
   protected:
    std::vector<std::string> Results(const std::string& package, bool force = false) {
        std::vector<std::string> results;
        for (const RolledBackFile& file : RollBack(package, force)) {
            results.emplace_back(file.result);
        }
        return results;
    }

    const TestPackage test_;
};

TEST_F(RollbackTest, RestoresBackups) {
    WriteFile(test_.To() + "a", "1");
    WriteFile(test_.To() + "a.bak", "old");
    EXPECT_THAT(Results(test_.Zip()), testing::ElementsAre("restored", "no backup"));
    EXPECT_EQ(ReadFile(test_.To() + "a"), "old");
    EXPECT_FALSE(fs::exists(test_.To() + "a.bak"));
}

TEST_F(RollbackTest, RestoresRemovedFile) {
    WriteFile(test_.To() + "a.bak", "old");
    EXPECT_THAT(Results(test_.Zip()), testing::ElementsAre("restored", "no backup"));
    EXPECT_EQ(ReadFile(test_.To() + "a"), "old");
}

TEST_F(RollbackTest, KeepsChangedFileUnlessForced) {
    WriteFile(test_.To() + "a", "changed");
    WriteFile(test_.To() + "a.bak", "old");
    EXPECT_THAT(Results(test_.Zip()), testing::ElementsAre("kept", "no backup"));
    EXPECT_EQ(ReadFile(test_.To() + "a"), "changed");
    EXPECT_THAT(Results(test_.Zip(), true), testing::ElementsAre("restored", "no backup"));
    EXPECT_EQ(ReadFile(test_.To() + "a"), "old");
}

// What was restored before is reported, too.
TEST_F(RollbackTest, KeepsFileWhenItsEntryIsDamaged) {
    WriteFile(test_.To() + "a", "1");
    WriteFile(test_.To() + "a.bak", "old");
    WriteFile(test_.To() + "b", "2");
    WriteFile(test_.To() + "b.bak", "old");
    DeclareSize(test_.Zip(), "Common/b", 0);
    EXPECT_THAT(Results(test_.Zip()), testing::ElementsAre("restored", "kept"));
}

TEST_F(RollbackTest, ReadsTheDirectoryOfAPackage) {
    OutputOf("unzip -q " + test_.Zip() + " -d " + test_.Unpacked());
    WriteFile(test_.To() + "b", "2");
    WriteFile(test_.To() + "b.bak", "old");
    EXPECT_THAT(Results(test_.Unpacked()), testing::ElementsAre("no backup", "restored"));
}

TEST_F(RollbackTest, ReportsMissingManifest) {
    fs::create_directory(test_.Unpacked());
    EXPECT_THAT(
        [&] { RollBack(test_.Unpacked(), false); },
        testing::ThrowsMessage<PackageError>("there is no " + test_.Unpacked() + "/FileList.ini"));
}

}  // namespace
