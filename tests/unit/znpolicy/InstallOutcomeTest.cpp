#include <gtest/gtest.h>

#include "InstallOutcome.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

class InstallOutcomeTest : public testing::Test {
   protected:
    InstallOutcomeTest() {
        WriteFile(directory_ / "new", "new");
        WriteFile(directory_ / "old", "old");
        package_.files.resize(1);
        File().destination = directory_ / "to";
        File().action = FileAction::kReplace;
        File().digest = File().digestAtEnd = ZnSha256::FileSha256Value(directory_ / "new");
        File().digestBefore = ZnSha256::FileSha256Value(directory_ / "old");
    }

    PlannedFile& File() {
        return package_.files.front();
    }

    const TemporaryDirectory directory_;
    PlannedPackage package_;
};

TEST_F(InstallOutcomeTest, CountsInstalledFileAndItsBackup) {
    WriteFile(directory_ / "to", "new");
    EXPECT_EQ(OutcomeOf(package_).installed, 1U);
    EXPECT_EQ(OutcomeOf(package_).backups, 0U);
    WriteFile(directory_ / "to.bak", "old");
    EXPECT_EQ(OutcomeOf(package_).backups, 1U);
    EXPECT_EQ(OutcomeOf(package_).reason, "");
}

TEST_F(InstallOutcomeTest, CountsUnchangedFile) {
    WriteFile(directory_ / "to", "new");
    File().digestBefore = File().digest;
    EXPECT_EQ(OutcomeOf(package_).unchanged, 1U);
    EXPECT_STREQ(OutcomeOf(package_).files.at(0).result, "unchanged");
}

TEST_F(InstallOutcomeTest, AcceptsTheFileOfALaterPackage) {
    WriteFile(directory_ / "to", "later");
    EXPECT_EQ(OutcomeOf(package_).failed, 1U);
    File().digestAtEnd = ZnSha256::FileSha256Value(directory_ / "to");
    EXPECT_EQ(OutcomeOf(package_).failed, 0U);
}

TEST_F(InstallOutcomeTest, ReportsWhyAFileFailed) {
    WriteFile(directory_ / "to", "old");
    EXPECT_EQ(OutcomeOf(package_).reason,
              directory_ / "to: not installed; the library's log says why (--log-level error)");
    File().action = FileAction::kNotReached;
    EXPECT_EQ(OutcomeOf(package_).files.at(0).reason, "not reached");
    File().reason = "planned";
    EXPECT_EQ(OutcomeOf(package_).files.at(0).reason, "planned");
}

TEST_F(InstallOutcomeTest, ReportsWhyThePackageFailed) {
    WriteFile(directory_ / "to", "new");
    package_.reason = "section missing";
    EXPECT_EQ(OutcomeOf(package_).reason, "section missing");
}

}  // namespace
