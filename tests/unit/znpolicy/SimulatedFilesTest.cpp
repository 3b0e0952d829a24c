#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "IsolatedCheck.h"
#include "SimulatedFiles.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

namespace fs = std::filesystem;

class SimulatedFilesTest : public testing::Test {
   protected:
    const TemporaryDirectory directory_;
    SimulatedFiles files_;
};

TEST_F(SimulatedFilesTest, StartsFromTheDisk) {
    WriteFile(directory_ / "a", "contents");
    WriteFile(directory_ / "a.bak", "older");
    const SimulatedFiles::Target target = files_.At(directory_ / "a");
    EXPECT_TRUE(target.exists);
    EXPECT_TRUE(target.hasBackup);
    EXPECT_EQ(target.digest, ZnSha256::FileSha256Value(directory_ / "a"));
    EXPECT_FALSE(files_.At(directory_ / "b").exists);
    EXPECT_EQ(files_.At(directory_ / "b").digest, "");
}

TEST_F(SimulatedFilesTest, KeepsWhatIsAssigned) {
    files_.At(directory_ / "a") = {true, "digest", true, ""};
    EXPECT_EQ(files_.At(directory_ / "a").digest, "digest");
    EXPECT_FALSE(fs::exists(directory_ / "a"));
}

TEST_F(SimulatedFilesTest, MakesOneLevelOfDirectories) {
    files_.MakeDirectory(directory_ / "one/two/");
    EXPECT_EQ(files_.WriteProblem(directory_ / "one/two/a"), directory_ / "one/two does not exist");
    files_.MakeDirectory(directory_ / "one//");
    files_.MakeDirectory(directory_ / "one/two/");
    EXPECT_EQ(files_.WriteProblem(directory_ / "one//two/a"), "");
    EXPECT_FALSE(fs::exists(directory_ / "one"));
}

TEST_F(SimulatedFilesTest, ReportsWhatIsInTheWayOfADirectory) {
    WriteFile(directory_ / "file", "");
    fs::create_symlink("/nowhere", directory_ / "dangling");
    for (const std::string name : {"file", "dangling"}) {
        files_.MakeDirectory(directory_ / name + "/");
        EXPECT_NE(files_.WriteProblem(directory_ / name + "/a"), "") << name;
    }
    EXPECT_EQ(files_.WriteProblem(directory_ / "file/a"), directory_ / "file is not a directory");
}

TEST_F(SimulatedFilesTest, ReportsDirectoryWithoutPermission) {
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory_.Path());
        fs::permissions(directory_.Path(), fs::perms::owner_read | fs::perms::owner_exec);
        const std::string problem = files_.WriteProblem(directory_ / "a");
        fs::permissions(directory_.Path(), fs::perms::owner_all);
        return problem == directory_.Path() + " cannot be written";
    }));
}

}  // namespace
