#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PackageTest.h"
#include "ZipHeader.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class AuthorCommands : public PackageTest {};

std::set<std::string> NamesIn(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) {
        names.insert(entry.path().filename());
    }
    return names;
}

TEST_F(AuthorCommands, CheckAcceptsValidPackage) {
    const std::string zip = AddPackage();
    EXPECT_EQ(Output({"package", "check", zip, "--platform", "Model-A"}),
              zip + ": 2 files for platform \"Model-A\"\n");
    const Json report = Json::parse(Output({"package", "check", "--json", zip}));
    EXPECT_EQ(report.at("files"), 2);
    EXPECT_THAT(report.at("errors"), IsEmpty());
    EXPECT_THAT(report.at("warnings"), IsEmpty());
}

TEST_F(AuthorCommands, CheckAcceptsSeveralPackages) {
    const std::string good = AddPackage();
    const std::string bad = AddZip("Q_Server.zip", {{"Common/a.so", "a"}});
    const ProcessResult result = Run({"package", "check", bad, good});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr(bad + ": error: "), HasSubstr(good + ": 2 files for platform")));
    EXPECT_EQ(result.err, "znpolicy: " + bad + ": the installer would refuse this package\n");
    const Json reports = Json::parse(Run({"package", "check", "--json", bad, good}).out);
    EXPECT_EQ(reports.at(0).at("zip"), bad);
    EXPECT_EQ(reports.at(1).at("files"), 2);
}

TEST_F(AuthorCommands, CheckContinuesAfterUnreadableZip) {
    const std::string good = AddPackage();
    const std::string missing = directory_ / "missing.zip";
    const ProcessResult result = Run({"package", "check", missing, good});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out,
              missing + ": error: No such file\n" + good + ": 2 files for platform \"Model-A\"\n");
    const ProcessResult inJson = Run({"package", "check", good, missing, good, "--json"});
    EXPECT_EQ(inJson.exitCode, kFailed);
    const Json reports = Json::parse(inJson.out);
    ASSERT_EQ(reports.size(), 3U);
    EXPECT_EQ(reports[1].at("zip"), missing);
    EXPECT_EQ(reports[1].at("errors"), Json::array({"No such file"}));
    EXPECT_EQ(reports[2].at("files"), 2);
}

TEST_F(AuthorCommands, CheckCountsOneFile) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini",
                                 "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n"
                                 "p=/opt/\n[p]\nf=a.so\n"},
                                {"Common/a.so", "a"}});
    EXPECT_EQ(Output({"package", "check", zip}), zip + ": 1 file for platform \"Model-A\"\n");
}

TEST_F(AuthorCommands, CheckNamesAllRefusedPackages) {
    const std::string one = directory_ / "one.zip";
    const std::string two = directory_ / "two.zip";
    EXPECT_EQ(Run({"package", "check", one, two}).err,
              "znpolicy: " + one + ", " + two + ": the installer would refuse these packages\n");
}

TEST_F(AuthorCommands, CheckReportsErrors) {
    const std::string type = "[Package_Intall_Type]\nPackageIntallType=Model-A\n";
    const struct {
        std::map<std::string, std::string> files;
        std::string problem;
    } cases[] = {
        {{{"Common/a.so", "a"}}, "there is no FileList.ini"},
        {{{"FileList.ini", "[x]\ny=z\n"}}, "[Package_Intall_Type] PackageIntallType is missing"},
        {{{"FileList.ini", type}}, "section [Model-A] is missing"},
        {{{"FileList.ini", type + "[Model-A]\np=/x/\n"}}, "section [p] is missing"},
        {{{"FileList.ini", kManifest}, {"Common/a.so", "a"}}, "Common/b.so is not in the zip"},
        {{{"FileList.ini", kManifest}, {"Common/a.so", "a"}, {"Common/b.so", ""}},
         "Common/b.so is empty"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.problem);
        const std::string zip = AddZip("P_Server.zip", c.files);
        const ProcessResult result = Run({"package", "check", zip});
        EXPECT_EQ(result.exitCode, kFailed);
        EXPECT_THAT(result.out, AllOf(HasSubstr(": error: "), HasSubstr(c.problem)));
        EXPECT_THAT(result.err, HasSubstr("the installer would refuse this package"));
    }
}

TEST_F(AuthorCommands, CheckReportsOtherPlatform) {
    const ProcessResult result = Run({"package", "check", AddPackage(), "--platform", "Model-B"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, HasSubstr("for platform \"Model-A\", not for \"Model-B\""));
}

TEST_F(AuthorCommands, CheckReportsWarnings) {
    const auto manifest = [](const std::string& destination, const std::string& list) {
        return "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\np=" + destination +
               "\n[p]\nfiles=" + list + "\n";
    };
    const std::map<std::string, std::string> payload = {{"Common/a.so", "a"}};
    const struct {
        std::string zip;
        std::string manifest;
        std::string warning;
    } cases[] = {
        {"P_Server.zip", manifest("/opt/x", "a.so"), "does not end with \"/\""},
        {"P_Server.zip", manifest("opt/", "a.so"), "is not an absolute path"},
        {"P_Server.zip", manifest("/opt/../etc/", "a.so"), "p=/opt/../etc/ contains \"..\""},
        {"P_Server.zip", manifest("/opt/", "../Common/a.so"), "\"../Common/a.so\" contains"},
        {"P_Server.zip", manifest("/opt/", "a.so,,b.so"), "an empty element ends the list"},
        {"P_Server.zip", manifest("/opt/", ""), "has no files"},
        {"P Server.zip", manifest("/opt/", "a.so"), "which sh or unzip would interpret"},
        {"P;x_Server.zip", manifest("/opt/", "a.so"), "which sh or unzip would interpret"},
        {"P.zip", manifest("/opt/", "a.so"), "neither \"_Server\" nor \"_Client\""},
        {"P_Server_Release.zip", manifest("/opt/", "a.so"), "taken for a release bundle"},
        {std::string(53, 'n') + "_Server.zip", manifest("/opt/", "a.so"), "more than 63 bytes"},
        {"P_Server.zip.old", manifest("/opt/", "a.so"), "\".zip\" is not the end"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.warning);
        std::map<std::string, std::string> files = payload;
        files["FileList.ini"] = c.manifest;
        MakeZip(directory_ / ("zips/" + c.zip), files);
        const ProcessResult result = Run({"package", "check", directory_ / ("zips/" + c.zip)});
        EXPECT_THAT(result.out, AllOf(HasSubstr(": warning: "), HasSubstr(c.warning)));
    }
}

TEST_F(AuthorCommands, CheckNormalizesFileNames) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini",
                                 "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n"
                                 "p=/opt/\n[p]\nf=./a.so,sub//b.so,../top\n"},
                                {"Common/a.so", "a"},
                                {"Common/sub/b.so", "b"},
                                {"top", "t"}});
    EXPECT_THAT(Output({"package", "check", zip}), HasSubstr("3 files"));
}

TEST_F(AuthorCommands, CheckPrintsJsonOnFailure) {
    const std::string zip = AddZip("P_Server.zip", {{"Common/a.so", "a"}});
    const ProcessResult result = Run({"package", "check", "--json", zip});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(Json::parse(result.out).at("errors"), Json::array({"there is no FileList.ini"}));
}

TEST_F(AuthorCommands, CheckReportsManifestLargerThanDeclared) {
    const std::string zip = AddZip("P_Server.zip", {{"FileList.ini", std::string(1 << 20, '\n')}});
    DeclareSize(zip, "FileList.ini", 100);
    const ProcessResult result = Run({"package", "check", zip});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out,
                HasSubstr("FileList.ini: larger than the 100 bytes that the zip declares"));
}

TEST_F(AuthorCommands, CheckWarnsAboutLinks) {
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", kManifest);
    WriteFile(contents / "Common/a.so", "a");
    WriteFile(contents / "Common/b.so", "b");
    fs::create_symlink("/etc/passwd", contents / "Common/link");
    const std::string zip = directory_ / "L_Server.zip";
    OutputOf("cd " + contents.Path() + " && zip -qry " + zip + " .");
    EXPECT_THAT(Output({"package", "check", zip}), HasSubstr("Common/link is a link"));
}

TEST_F(AuthorCommands, BuildCreatesZipAndRecord) {
    WriteFile(directory_ / "P_1.0_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_1.0_Server/Common/a.so", "contents of a");
    WriteFile(directory_ / "P_1.0_Server/Common/b.so", "contents of b");
    WriteFile(directory_ / "P_1.0_Server/Common/notes.txt", "not listed");
    const Json description = Json::parse(
        Output({"package", "build", directory_ / "P_1.0_Server/", "--package-version", "1.0"}));
    const std::string zip = directory_ / "P_1.0_Server.zip";
    const Json& record = description.at("packageInfo").at(0);
    EXPECT_EQ(record.at("packageName"), "P_1.0_Server.zip");
    EXPECT_EQ(record.at("platform"), "Model-A");
    EXPECT_EQ(record.at("version"), "1.0");
    EXPECT_EQ(record.at("sha256Hash"), Sha256Of(zip));
    EXPECT_EQ(record.at("size"), std::to_string(fs::file_size(zip)));
    Output({"package", "check", zip});
    EXPECT_EQ(OutputOf("unzip -Z1 " + zip), "FileList.ini\nCommon/a.so\nCommon/b.so\n");
}

TEST_F(AuthorCommands, BuildKeepsOlderZipOnFailure) {
    WriteFile(directory_ / "P_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_Server/Common/a.so", "a");
    WriteFile(directory_ / "P_Server.zip", "older");
    EXPECT_THAT(Failure({"package", "build", directory_ / "P_Server"}),
                HasSubstr("lists \"b.so\", but there is no"));
    WriteFile(directory_ / "P_Server/Common/b.so", "");
    const ProcessResult result = Run({"package", "build", directory_ / "P_Server"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, HasSubstr("Common/b.so is empty"));
    EXPECT_EQ(ReadFile(directory_ / "P_Server.zip"), "older");
    EXPECT_EQ(NamesIn(directory_.Path()).count("P_Server.zip"), 1U);
    EXPECT_EQ(NamesIn(directory_.Path()).size(),
              3U);  // and the package directory, and the process directory
}

TEST_F(AuthorCommands, BuildNamesZipAfterDirectoryArgument) {
    WriteFile(directory_ / "real/FileList.ini", kManifest);
    WriteFile(directory_ / "real/Common/a.so", "a");
    WriteFile(directory_ / "real/Common/b.so", "b");
    fs::create_directory(directory_ / "out");
    fs::create_directory_symlink(directory_ / "real", directory_ / "P_Server");
    Output({"package", "build", directory_ / "P_Server"});
    EXPECT_TRUE(fs::exists(directory_ / "P_Server.zip"));
    Run({"package", "build", ".", "--into", "../out"}, InDirectory(directory_ / "P_Server"));
    EXPECT_TRUE(fs::exists(directory_ / "out/real.zip"));
}

TEST_F(AuthorCommands, BuildNormalizesFileNames) {
    WriteFile(directory_ / "P_Server/FileList.ini",
              "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\np=/usr/local/plugins/\n"
              "q=/usr/local/\n[p]\nf=./a,a\n[q]\nf=../top\n");
    WriteFile(directory_ / "P_Server/Common/a", "a");
    WriteFile(directory_ / "P_Server/top", "t");
    Run({"package", "build", directory_ / "P_Server"});
    EXPECT_EQ(OutputOf("unzip -Z1 " + directory_ / "P_Server.zip"),
              "FileList.ini\nCommon/a\ntop\n");

    WriteFile(directory_ / "P_Server/FileList.ini",
              "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\np=/usr/local/plugins/\n"
              "[p]\nf=../../outside\n");
    EXPECT_THAT(Failure({"package", "build", directory_ / "P_Server"}),
                HasSubstr("lists \"../../outside\", which is outside the directory"));
}

TEST_F(AuthorCommands, BuildRejectsTooLongText) {
    const ProcessResult result =
        Run({"package", "build", directory_.Path(), "--package-version", std::string(32, '1')});
    EXPECT_EQ(result.exitCode, kWrongUsage);
    EXPECT_THAT(result.err, HasSubstr("has more than 31 bytes"));
}

TEST_F(AuthorCommands, BuildReportsMissingDirectory) {
    EXPECT_THAT(Failure({"package", "build", directory_ / "missing"}),
                HasSubstr("missing: no such directory"));
    WriteFile(directory_ / "P_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_Server/Common/a.so", "a");
    WriteFile(directory_ / "P_Server/Common/b.so", "b");
    EXPECT_THAT(
        Failure({"package", "build", directory_ / "P_Server", "--into", directory_ / "missing"}),
        HasSubstr("missing: no directory can be created here"));
}

}  // namespace
