#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PackageCheck.h"
#include "PackageError.h"
#include "TestPackage.h"
#include "ZipHeader.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

// "error: " or "warning: ", then the text.
std::vector<std::string> FindingsIn(const PackageReport& report) {
    std::vector<std::string> findings;
    for (const Finding& finding : report.findings) {
        findings.push_back((finding.isError ? "error: " : "warning: ") + finding.text);
    }
    return findings;
}

class PackageCheckTest : public testing::Test {
   protected:
    std::vector<std::string> Findings(const std::map<std::string, std::string>& files) {
        test_.Make(files);
        return FindingsIn(CheckPackage(test_.Zip(), ""));
    }

    std::vector<std::string> FindingsOfName(const std::string& name) {
        MakeZip(test_.Root() + "/" + name,
                {{"FileList.ini", test_.Manifest()}, {"Common/a", "1"}, {"Common/b", "2"}});
        return FindingsIn(CheckPackage(test_.Root() + "/" + name, ""));
    }

    const TestPackage test_;
};

TEST_F(PackageCheckTest, AcceptsValidPackage) {
    const PackageReport report = CheckPackage(test_.Zip(), "Model-A");
    EXPECT_THAT(FindingsIn(report), IsEmpty());
    EXPECT_FALSE(report.HasErrors());
    EXPECT_EQ(report.platform, "Model-A");
    EXPECT_EQ(report.fileCount, 2U);
}

TEST_F(PackageCheckTest, ChecksFileName) {
    const struct {
        std::string name;
        std::string finding;
    } cases[] = {
        {"P x_Server.zip", "warning: the path contains a blank"},
        {"P.zip", "warning: the file name has neither"},
        {"P_Server_Release.zip", "warning: the file name has \"_Release.zip\""},
        {"P_Server.zip.old", "warning: \".zip\" is not the end"},
        {"P_Server.pkg", "error: the file name has no \".zip\""},
        {std::string(53, 'n') + "_Server.zip", "warning: the file name has more than 63 bytes"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(FindingsOfName(c.name), Contains(HasSubstr(c.finding))) << c.name;
    }
    EXPECT_THAT(FindingsOfName(std::string(52, 'n') + "_Server.zip"), IsEmpty());
}

TEST_F(PackageCheckTest, ChecksPlatform) {
    EXPECT_THAT(FindingsIn(CheckPackage(test_.Zip(), "Model")), IsEmpty());  // a prefix is enough
    EXPECT_THAT(FindingsIn(CheckPackage(test_.Zip(), "Model-B")),
                Contains("error: the package is for platform \"Model-A\", not for \"Model-B\""));
    EXPECT_THAT(Findings({{"FileList.ini", "[Package_Intall_Type]\nPackageIntallType=A\n[A]\n"}}),
                Contains("error: platform \"A\" is shorter than 2 characters: no machine matches"));
}

TEST_F(PackageCheckTest, ChecksListedFiles) {
    EXPECT_THAT(Findings({{"FileList.ini", test_.Manifest()}, {"Common/a", ""}}),
                testing::ElementsAre("error: [p] \"a\" is listed, but Common/a is empty",
                                     "error: [p] \"b\" is listed, but Common/b is not in the zip"));
}

TEST_F(PackageCheckTest, WarnsAboutFilePlacedTwice) {
    EXPECT_THAT(Findings({{"FileList.ini", ManifestOf("p=/x/\nq=/x/\n[p]\nf=a\n[q]\nf=a\n")},
                          {"Common/a", "1"}}),
                Contains("warning: /x/a is placed by [p] and by [q]"));
}

TEST_F(PackageCheckTest, ReportsManifestThatIsNotWhatItDeclares) {
    test_.Make({{"FileList.ini", std::string(1 << 20, '\n')}});
    DeclareSize(test_.Zip(), "FileList.ini", 100);
    EXPECT_THAT(
        FindingsIn(CheckPackage(test_.Zip(), "")),
        Contains(HasSubstr("error: " + test_.Zip() + ": FileList.ini: larger than the 100")));
}

TEST_F(PackageCheckTest, RejectsWhatIsNoZip) {
    WriteFile(test_.Zip(), "no zip");
    EXPECT_THROW(CheckPackage(test_.Zip(), ""), PackageError);
}

}  // namespace
