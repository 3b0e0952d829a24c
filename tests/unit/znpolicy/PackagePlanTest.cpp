#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PackagePlan.h"
#include "TestPackage.h"
#include "ZipHeader.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class PackagePlanTest : public testing::Test {
   protected:
    PlannedPackage Plan(const std::string& platform = "Model-A") {
        ZnPackageInfo record = {};
        platform.copy(record.platform, sizeof record.platform - 1);
        return PlanPackage(test_.Zip(), test_.Zip(), record, SERVER_SIDE, files_);
    }

    std::vector<std::string> Actions() {
        std::vector<std::string> actions;
        for (const PlannedFile& file : Plan().files) {
            actions.emplace_back(ActionName(file.action));
        }
        return actions;
    }

    const TestPackage test_;
    SimulatedFiles files_;
};

TEST_F(PackagePlanTest, InstallsReplacesAndKeeps) {
    EXPECT_THAT(Actions(), ElementsAre("install", "install"));
    EXPECT_THAT(Actions(), ElementsAre("unchanged", "unchanged"));  // after the first
    files_ = {};
    WriteFile(test_.To() + "a", "other");
    WriteFile(test_.To() + "b", "2");
    EXPECT_THAT(Actions(), ElementsAre("replace", "unchanged"));
}

TEST_F(PackagePlanTest, SaysWhichBackupsAreDeleted) {
    WriteFile(test_.To() + "a", "other");
    WriteFile(test_.To() + "a.bak", "older");
    WriteFile(test_.To() + "b", "2");
    WriteFile(test_.To() + "b.bak", "older");
    const PlannedPackage plan = Plan();
    EXPECT_TRUE(plan.files.at(0).dropsBackup);
    EXPECT_FALSE(plan.files.at(1).dropsBackup) << "of an unchanged file";
}

TEST_F(PackagePlanTest, EndsWithTheFirstFileThatFails) {
    test_.Make({{"FileList.ini", test_.Manifest()}, {"Common/b", "2"}});
    const PlannedPackage plan = Plan();
    EXPECT_EQ(plan.files.at(0).action, FileAction::kFail);
    EXPECT_EQ(plan.files.at(0).reason, "the package does not have the file");
    EXPECT_EQ(plan.files.at(1).action, FileAction::kNotReached);
    EXPECT_EQ(plan.reason, "");
}

TEST_F(PackagePlanTest, ReportsEmptyFile) {
    test_.Make({{"FileList.ini", test_.Manifest()}, {"Common/a", ""}, {"Common/b", "2"}});
    EXPECT_EQ(Plan().files.at(0).reason, "the package's file is empty");
}

TEST_F(PackagePlanTest, ReportsMissingDirectory) {
    fs::remove(test_.To());
    EXPECT_THAT(Actions(), ElementsAre("install", "install"));  // the last level is created
    files_ = {};
    test_.Make(
        {{"FileList.ini", ManifestOf("p=" + test_.To() + "x/\n[p]\nf=a\n")}, {"Common/a", "1"}});
    EXPECT_EQ(Plan().files.at(0).reason, test_.To() + "x does not exist");
}

TEST_F(PackagePlanTest, ReportsDirectoryInPlaceOfBackup) {
    WriteFile(test_.To() + "a", "old");
    fs::create_directory(test_.To() + "a.bak");
    EXPECT_EQ(Plan().files.at(0).reason, test_.To() + "a.bak is a directory");
}

TEST_F(PackagePlanTest, ComparesPlatforms) {
    EXPECT_THAT(Plan("Model-B").reason, HasSubstr("this machine's platform is \"Model-A\""));
    EXPECT_THAT(Plan("").reason, HasSubstr("asks for \"\""));
    test_.Make({{"FileList.ini", "[Package_Intall_Type]\nPackageIntallType=Model\n[Model]\n"}});
    EXPECT_EQ(Plan().reason,
              "the manifest is for platform \"Model\", the record asks for \"Model-A\"");
}

TEST_F(PackagePlanTest, ReportsUnusableZip) {
    DeclareSize(test_.Zip(), "FileList.ini", 10);
    const PlannedPackage plan = Plan();
    EXPECT_THAT(plan.reason, HasSubstr("FileList.ini: larger than the 10 bytes"));
}

TEST_F(PackagePlanTest, ChangesNothing) {
    WriteFile(test_.To() + "a", "other");
    (void)Plan();
    EXPECT_EQ(ReadFile(test_.To() + "a"), "other");
    EXPECT_FALSE(fs::exists(test_.To() + "b"));
    EXPECT_FALSE(fs::exists(test_.Unpacked()));
}

}  // namespace
