#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>

#include "PackageBuild.h"
#include "TestPackage.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
namespace fs = std::filesystem;

class PackageBuildTest : public testing::Test {
   protected:
    PackageBuildTest() {
        WriteFile(source_ + "/FileList.ini", test_.Manifest());
        WriteFile(source_ + "/Common/a", "1");
        WriteFile(source_ + "/Common/b", "2");
        fs::remove(test_.Zip());
    }

    PackageReport Build() {
        return BuildPackage(source_, test_.Zip());
    }

    const TestPackage test_;
    const std::string source_ = test_.Root() + "/source";
};

TEST_F(PackageBuildTest, PacksManifestAndListedFilesOnly) {
    WriteFile(source_ + "/Common/notes", "not listed");
    EXPECT_FALSE(Build().HasErrors());
    EXPECT_EQ(OutputOf("unzip -Z1 " + test_.Zip()), "FileList.ini\nCommon/a\nCommon/b\n");
}

TEST_F(PackageBuildTest, KeepsOlderZipWhenThePackageIsBad) {
    WriteFile(test_.Zip(), "older");
    WriteFile(source_ + "/Common/a", "");
    EXPECT_TRUE(Build().HasErrors());
    EXPECT_EQ(ReadFile(test_.Zip()), "older");
    const fs::directory_iterator left(test_.Root() + "/Package");
    EXPECT_EQ(std::distance(begin(left), end(left)), 1);
}

TEST_F(PackageBuildTest, ReportsWhatCannotBePacked) {
    const auto throws = [](const std::string& text) {
        return ThrowsMessage<std::runtime_error>(HasSubstr(text));
    };
    fs::remove(source_ + "/Common/b");
    EXPECT_THAT([&] { Build(); }, throws("lists \"b\", but there is no " + source_ + "/Common/b"));
    WriteFile(source_ + "/FileList.ini", ManifestOf("p=/x/\n[p]\nf=../../out\n"));
    EXPECT_THAT([&] { Build(); }, throws("which is outside the directory"));
    WriteFile(source_ + "/FileList.ini", ManifestOf("p=/x/\n"));
    EXPECT_THAT([&] { Build(); }, throws("section [p] is missing"));
    fs::remove(source_ + "/FileList.ini");
    EXPECT_THAT([&] { Build(); }, throws("FileList.ini: no such file"));
}

}  // namespace
