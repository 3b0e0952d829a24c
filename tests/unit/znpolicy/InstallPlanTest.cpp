#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "InstallPlan.h"
#include "TestPackage.h"
#include "ZnCrypto.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;
namespace fs = std::filesystem;

class InstallPlanTest : public testing::Test {
   protected:
    static ZnPackageInfo RecordOf(const std::string& zip) {
        ZnPackageInfo record = {};
        std::string("Model-A").copy(record.platform, sizeof record.platform - 1);
        ZnSha256::FileSha256Value(zip).copy(record.sha256Hash, 64);
        return record;
    }

    InstallPlan Plan(const std::vector<ZnPackageInfo>& records) {
        return PlanInstallation(test_.Root(), SERVER_SIDE, records);
    }

    const TestPackage test_;
    const ZnPackageInfo record_ = RecordOf(test_.Zip());
};

TEST_F(InstallPlanTest, SelectsZipsByDigest) {
    MakeZip(test_.Root() + "/Package/Other_Server.zip", {{"a", "A"}});
    MakeZip(test_.Root() + "/Package/P_Client.zip", {{"a", "A"}});
    const InstallPlan plan = Plan({record_});
    ASSERT_EQ(plan.packages.size(), 1U);
    EXPECT_EQ(plan.packages[0].zip, test_.Root() + "/Package/P_Server.zip");
    EXPECT_THAT(plan.unmatched, ElementsAre(HasSubstr("Other_Server.zip")));
    EXPECT_THAT(plan.bundles, IsEmpty());
    EXPECT_EQ(plan.packages[0].reason, "");
    EXPECT_EQ(plan.packages[0].files.at(0).action, FileAction::kInstall);
    EXPECT_EQ(plan.packages[0].files.at(1).action, FileAction::kInstall);
}

TEST_F(InstallPlanTest, InstallsOnceForEachRecord) {
    const InstallPlan plan = Plan({record_, record_});
    ASSERT_EQ(plan.packages.size(), 2U);
    EXPECT_EQ(plan.packages[0].files.at(0).action, FileAction::kInstall);
    EXPECT_EQ(plan.packages[1].files.at(0).action, FileAction::kUnchanged);
}

TEST_F(InstallPlanTest, KnowsTheDigestsAtTheEnd) {
    MakeZip(test_.Root() + "/Package/Q_Server.zip",
            {{"FileList.ini", ManifestOf("p=" + test_.To() + "\n[p]\nf=a\n")}, {"Common/a", "3"}});
    const InstallPlan plan = Plan({record_, RecordOf(test_.Root() + "/Package/Q_Server.zip")});
    ASSERT_EQ(plan.packages.size(), 2U);
    EXPECT_EQ(plan.packages[0].files.at(0).digestAtEnd, plan.packages[1].files.at(0).digest);
}

TEST_F(InstallPlanTest, ContainsPackageThatFails) {
    test_.Make({{"FileList.ini", test_.Manifest()}});
    const InstallPlan plan = Plan({RecordOf(test_.Zip())});
    ASSERT_EQ(plan.packages.size(), 1U);
    EXPECT_EQ(plan.packages[0].files.at(0).action, FileAction::kFail);
}

TEST_F(InstallPlanTest, ReadsZipsThatABundleReplaces) {
    const std::string bundle = test_.Root() + "/Package/All_Server_Release.zip";
    const std::string inner = test_.Root() + "/Package/All_Server_Release/P_Server.zip";
    MakeZip(bundle, {{"P_Server.zip", ReadFile(test_.Zip())}});
    WriteFile(inner, "older");
    fs::remove(test_.Zip());
    EXPECT_THAT(Plan({record_}).packages, IsEmpty());
    ZnPackageInfo named = record_;
    std::string("https://host/All_Server_Release.zip").copy(named.downloadUrl, 255);
    const InstallPlan plan = Plan({named});
    ASSERT_EQ(plan.bundles.size(), 1U);
    EXPECT_EQ(plan.bundles[0].zip, bundle);
    ASSERT_EQ(plan.packages.size(), 1U);
    EXPECT_EQ(plan.packages[0].zip, inner);
    EXPECT_EQ(ReadFile(inner), "older");
}

TEST_F(InstallPlanTest, ReportsBundleThatCannotBeRead) {
    WriteFile(test_.Root() + "/Package/All_Server_Release.zip", "no zip");
    ZnPackageInfo named = record_;
    std::string("All_Server_Release.zip").copy(named.downloadUrl, 255);
    const InstallPlan plan = Plan({named});
    EXPECT_EQ(plan.packages.size(), 1U);
    ASSERT_EQ(plan.bundles.size(), 1U);
    EXPECT_THAT(plan.bundles[0].problems, testing::SizeIs(1));
}

TEST_F(InstallPlanTest, RejectsPathsThatShellWouldInterpretOnlyWhenUsed) {
    fs::rename(test_.Zip(), test_.Root() + "/Package/P x_Server.zip");
    EXPECT_EQ(Plan({}).unmatched.size(), 1U);
    EXPECT_THAT([&] { Plan({record_}); },
                ThrowsMessage<std::runtime_error>(HasSubstr("the path contains a blank")));
}

TEST_F(InstallPlanTest, ReportsMissingDirectoryAndZips) {
    fs::remove(test_.Zip());
    EXPECT_THAT([&] { Plan({}); },
                ThrowsMessage<std::runtime_error>(
                    test_.Root() + "/Package/: no zip with \"_Server\" in its path"));
    fs::remove(test_.Root() + "/Package");
    EXPECT_THAT([&] { Plan({}); },
                ThrowsMessage<std::runtime_error>(test_.Root() + "/Package/: no such directory"));
}

}  // namespace
