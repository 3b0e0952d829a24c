#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PackageTest.h"
#include "ZipHeader.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class RollbackCommand : public PackageTest {};

TEST_F(RollbackCommand, RestoresBackups) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    Output(ServerSide("install", DescribeZips({zip})));

    const Json files = Json::parse(Output({"package", "rollback", "--json", zip}));
    EXPECT_EQ(files, Json::parse(R"([
        {"file": "/usr/local/plugins/a.so", "result": "no backup", "reason": ""},
        {"file": "/usr/local/plugins/b.so", "result": "restored", "reason": ""}])"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "older contents");
    EXPECT_FALSE(fs::exists("/usr/local/plugins/b.so.bak"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(RollbackCommand, KeepsChangedFileUnlessForced) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    Output(ServerSide("install", DescribeZips({zip})));
    WriteFile("/usr/local/plugins/b.so", "changed by hand");

    const std::string unpacked = packages_ + "P_1.0_Server";
    const ProcessResult result = Run({"package", "rollback", unpacked});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, HasSubstr("kept"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "changed by hand");

    Output({"package", "rollback", "--force", unpacked});
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "older contents");
}

TEST_F(RollbackCommand, KeepsFileThatCannotBeCompared) {
    WriteFile(packages_ + "P_Server/FileList.ini", kManifest);
    fs::create_directories("/usr/local/plugins/a.so");  // neither this nor the package's is a file
    WriteFile("/usr/local/plugins/a.so.bak", "older");
    fs::create_directories(packages_ + "P_Server/Common/a.so");
    const ProcessResult result = RunForJson({"package", "rollback", packages_ + "P_Server"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(Json::parse(result.out).at(0).at("result"), "kept");
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so.bak"), "older");
}

// As the framework by itself leaves an installation that failed half-way.
TEST_F(RollbackCommand, RestoresPartialInstallation) {
    const std::string zip =
        AddZip("P_Server.zip",
               {{"FileList.ini", ManifestOf("p=/usr/local/plugins/\nq=/usr/local/\n[p]\nf=a\n")},
                {"Common/a", "new"}});
    WriteFile("/usr/local/plugins/a", "new");
    WriteFile("/usr/local/plugins/a.bak", "old");
    EXPECT_THAT(Output({"package", "rollback", zip}), HasSubstr("restored"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a"), "old");
}

TEST_F(RollbackCommand, RestoresAfterARunThatChangedNothing) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    const std::string update = DescribeZips({zip});
    Output(ServerSide("install", update));
    Output(ServerSide("install", update));
    EXPECT_THAT(Output({"package", "rollback", zip}), HasSubstr("restored"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "older contents");
}

TEST_F(RollbackCommand, KeepsFileWhoseBackupThePackageInstalls) {
    const std::string zip = AddZip(
        "P_Server.zip", {{"FileList.ini", ManifestOf("p=/usr/local/plugins/\n[p]\nf=a,a.bak\n")},
                         {"Common/a", "new"},
                         {"Common/a.bak", "belongs to the package"}});
    WriteFile("/usr/local/plugins/a", "new");
    WriteFile("/usr/local/plugins/a.bak", "belongs to the package");
    const ProcessResult result = Run({"package", "rollback", zip});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, HasSubstr("its .bak is a file of the package"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a"), "new");
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.bak"), "belongs to the package");
}

TEST_F(RollbackCommand, ReportsLinkLargerThanDeclared) {
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", ManifestOf("p=/usr/local/plugins/\n[p]\nf=a\n"));
    fs::create_directory(contents / "Common");
    fs::create_symlink(std::string(2000, 'x'), contents / "Common/a");
    OutputOf("cd " + contents.Path() + " && zip -qry " + packages_ + "L_Server.zip .");
    DeclareSize(packages_ + "L_Server.zip", "Common/a", 10);
    WriteFile("/usr/local/plugins/a", "new");
    WriteFile("/usr/local/plugins/a.bak", "old");
    const ProcessResult result = Run({"package", "rollback", packages_ + "L_Server.zip"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, HasSubstr("Common/a: larger than the 10 bytes that the zip declares"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a"), "new");
}

}  // namespace
