#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Manifest.h"
#include "PackageError.h"
#include "TestPackage.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

class ManifestTest : public testing::Test {
   protected:
    Manifest Read(const std::string& text) {
        WriteFile(directory_ / "FileList.ini", text);
        return ReadManifest(directory_ / "FileList.ini", "M");
    }

    const TemporaryDirectory directory_;
};

TEST_F(ManifestTest, GivesPathsAndFilesInTheirOrderOfInstallation) {
    const Manifest manifest = Read(ManifestOf("q=/q/\np=/p/\n[p]\nz=b,a\ny=c,a\n[q]\nf=d\n"));
    EXPECT_EQ(manifest.platform, "Model-A");
    EXPECT_EQ(manifest.failure, "");
    EXPECT_THAT(manifest.oddities, IsEmpty());
    ASSERT_EQ(manifest.paths.size(), 2U);
    EXPECT_EQ(manifest.paths[0].key, "p");
    EXPECT_EQ(manifest.paths[0].destination, "/p/");
    EXPECT_THAT(manifest.paths[0].files, ElementsAre("a", "b", "c"));
    EXPECT_THAT(manifest.paths[1].files, ElementsAre("d"));
}

TEST_F(ManifestTest, EmptyElementEndsAList) {
    const struct {
        std::string list;
        std::vector<std::string> files;
        std::string oddity;
    } cases[] = {
        {"a,,b", {"a"}, "M [p] f: an empty element ends the list; \",b\" is skipped"},
        {",a", {}, "M [p] f: an empty element ends the list; \",a\" is skipped"},
        {"a,b,", {"a", "b"}, ""},
        {"", {}, ""},
        {"a b, c", {" c", "a b"}, ""},
    };
    for (const auto& c : cases) {
        const Manifest manifest = Read(ManifestOf("p=/p/\n[p]\nf=" + c.list + "\n"));
        EXPECT_THAT(manifest.paths.at(0).files, testing::ElementsAreArray(c.files)) << c.list;
        EXPECT_EQ(manifest.oddities.empty() ? "" : manifest.oddities.at(0), c.oddity);
    }
}

TEST_F(ManifestTest, CutsLongValuesLikeTheInstaller) {
    const Manifest manifest = Read(ManifestOf("p=" + std::string(300, 'd') + "\n[p]\nf=a\n"));
    EXPECT_EQ(manifest.paths.at(0).destination, std::string(258, 'd'));
    EXPECT_THAT(manifest.oddities,
                ElementsAre("M [Model-A] p has more than 258 bytes and is cut there"));
}

TEST_F(ManifestTest, ReportsWhereTheInstallerStops) {
    const Manifest manifest = Read(ManifestOf("p=/p/\nq=/q/\n[p]\nf=a\n"));
    EXPECT_EQ(manifest.paths.size(), 1U);
    EXPECT_EQ(manifest.failure, "M: section [q] is missing");
}

TEST_F(ManifestTest, ThrowsWithoutPlatform) {
    EXPECT_THAT(
        [&] { Read("[x]\n"); },
        ThrowsMessage<PackageError>("M [Package_Intall_Type] PackageIntallType is missing"));
    EXPECT_THAT([&] { Read("[Package_Intall_Type]\nPackageIntallType=Model-A\n"); },
                ThrowsMessage<PackageError>("M: section [Model-A] is missing"));
}

TEST_F(ManifestTest, ReadsAnEntryOfAZip) {
    MakeZip(directory_ / "x.zip", {{"FileList.ini", ManifestOf("p=/p/\n[p]\nf=a\n")}});
    const ZipArchive archive(directory_ / "x.zip");
    const Manifest manifest = ReadManifest(archive, *archive.Find("FileList.ini"), "M");
    EXPECT_THAT(manifest.paths.at(0).files, ElementsAre("a"));
}

TEST_F(ManifestTest, RejectsTooLargeEntryWithoutInflatingIt) {
    MakeZip(directory_ / "x.zip", {{"FileList.ini", std::string(17 << 20, '\n')}});
    const ZipArchive archive(directory_ / "x.zip");
    EXPECT_THAT([&] { ReadManifest(archive, *archive.Find("FileList.ini"), "M"); },
                ThrowsMessage<PackageError>("M: larger than the limit of 16 MiB"));
}

}  // namespace
