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

class InstallCommands : public PackageTest {};

// The result of every file, in the order of the answer.
std::vector<std::string> ResultsIn(const std::string& answer) {
    std::vector<std::string> results;
    const Json document = Json::parse(answer);
    for (const Json& package : document.at("packages")) {
        for (const Json& file : package.at("files")) {
            results.push_back(file.at("result"));
        }
    }
    return results;
}

Json FileWith(const Json& files, const std::string& destination) {
    for (const Json& file : files) {
        if (file.at("destination") == destination) {
            return file;
        }
    }
    return nullptr;
}

TEST_F(InstallCommands, PlanChangesNothing) {
    const std::string zip = AddPackage();
    const std::string other = AddPackage("Other_Server.zip");
    WriteFile(other, ReadFile(zip) + "x");
    WriteFile("/usr/local/plugins/a.so", "contents of a");
    WriteFile("/usr/local/plugins/b.so", "older contents");
    WriteFile("/usr/local/plugins/b.so.bak", "oldest contents");
    const std::string update = DescribeZips({zip});
    const auto before = Snapshot(directory_.Path());
    const auto beforeFixed = Snapshot("/usr/local");

    auto arguments = ServerSide("plan", update);
    EXPECT_THAT(Output(arguments), AllOf(HasSubstr("unchanged"), HasSubstr("replace")));
    arguments.emplace_back("--json");
    const Json plan = Json::parse(Output(arguments));
    EXPECT_EQ(plan.at("unmatched"), Json::array({other}));
    const Json& files = plan.at("packages").at(0).at("files");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/a.so").at("result"), "unchanged");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/b.so").at("result"), "replace");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/b.so").at("dropsBackup"), true);

    EXPECT_EQ(Snapshot(directory_.Path()), before);
    EXPECT_EQ(Snapshot("/usr/local"), beforeFixed);
}

TEST_F(InstallCommands, PlanReportsFailures) {
    const std::string lacking =
        AddZip("P_Server.zip", {{"FileList.ini", kManifest}, {"Common/b.so", "contents of b"}});
    const ProcessResult result = Run(ServerSide("plan", DescribeZips({lacking})));
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("the package does not have the file"), HasSubstr("not reached")));
    EXPECT_THAT(result.err, HasSubstr("the installation would fail"));

    const ProcessResult foreign = Run(ServerSide("plan", DescribeZips({AddPackage()}, "Model-B")));
    EXPECT_EQ(foreign.exitCode, kFailed);
    EXPECT_THAT(foreign.out, HasSubstr("this machine's platform is \"Model-A\""));
}

// What an installation finds, and what becomes of each file in turn.
struct Scenario {
    const char* what;
    std::function<void(const std::string& zips)> prepare;  // given the directory of the zips
    std::vector<std::map<std::string, std::string>> packages;
    std::vector<std::string> results;  // of the plan
    int status = kDone;
};

const std::vector<Scenario>& Scenarios() {
    const std::string one = ManifestOf("p=/usr/local/plugins/\n[p]\nf=a\n");
    const auto nothing = [](const std::string&) {};
    static const std::vector<Scenario> cases = {
        {"a later package replaces an earlier one's file",
         nothing,
         {{{"FileList.ini", one}, {"Common/a", "1"}}, {{"FileList.ini", one}, {"Common/a", "2"}}},
         {"install", "replace"}},
        {"two path keys place one file",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\nq=/usr/local/plugins/\n[p]\nf=a\n"
                                       "[q]\nf=a\n")},
           {"Common/a", "1"}}},
         {"install", "unchanged"}},
        {"two names lead to one destination",
         [](const std::string&) { fs::create_directories("/usr/local/plugins/sub"); },
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\nq=/usr/local/plugins/sub/\n"
                                       "[p]\nf=sub/a\n[q]\nf=a\n")},
           {"Common/a", "1"},
           {"Common/sub/a", "2"}}},
         {"install", "replace"}},
        {"a directory is made for a later path key",
         nothing,
         {{{"FileList.ini",
            ManifestOf("p=/usr/local/new/\nq=/usr/local/new/sub/\n[p]\nf=a\n[q]\nf=b\n")},
           {"Common/a", "1"},
           {"Common/b", "2"}}},
         {"install", "install"}},
        {"only the last level of a directory is made",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/new/sub/\n[p]\nf=a,b\n")},
           {"Common/a", "1"},
           {"Common/b", "2"}}},
         {"fail", "not reached"},
         kFailed},
        {"the sub-directory of a name is not made",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\n[p]\nf=a,sub/b\n")},
           {"Common/a", "1"},
           {"Common/sub/b", "2"}}},
         {"install", "fail"},
         kFailed},
        {"a directory in the place of the file",
         [](const std::string&) { fs::create_directories("/usr/local/plugins/a"); },
         {{{"FileList.ini", one}, {"Common/a", "1"}}},
         {"replace"},
         kFailed},
        {"a directory in the place of the backup",
         [](const std::string&) {
             WriteFile("/usr/local/plugins/a", "old");
             fs::create_directories("/usr/local/plugins/a.bak");
         },
         {{{"FileList.ini", one}, {"Common/a", "1"}}},
         {"fail"},
         kFailed},
        {"a file in the place of the directory",
         [](const std::string&) { WriteFile("/usr/local/plugins", "a file"); },
         {{{"FileList.ini", one}, {"Common/a", "1"}}},
         {"fail"},
         kFailed},
        {"a link that leads nowhere is replaced",
         [](const std::string&) {
             fs::create_directories("/usr/local/plugins");
             fs::create_symlink("/nowhere", "/usr/local/plugins/a");
         },
         {{{"FileList.ini", one}, {"Common/a", "1"}}},
         {"install"}},
        {"an empty file in the package",
         nothing,
         {{{"FileList.ini", one}, {"Common/a", ""}}},
         {"fail"},
         kFailed},
        {"a name with a dot component",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\n[p]\nf=./a\n")}, {"Common/a", "1"}}},
         {"install"}},
        {"the section of a later path key is missing",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\nq=/usr/local/\n[p]\nf=a\n")},
           {"Common/a", "1"}}},
         {"install"},
         kFailed},
        {"a manifest for another platform",
         nothing,
         {{{"FileList.ini", "[Package_Intall_Type]\nPackageIntallType=Model\n[Model]\n"}}},
         {},
         kFailed},
        {"a manifest for a platform that begins with the record's",
         nothing,
         {{{"FileList.ini",
            "[Package_Intall_Type]\nPackageIntallType=Model-A2\n[Model-A2]\n"
            "p=/usr/local/plugins/\n[p]\nf=a\n"},
           {"Common/a", "1"}}},
         {"install"}},
        {"a package without files",
         nothing,
         {{{"FileList.ini", ManifestOf("p=/usr/local/plugins/\n[p]\nf=\n")}}},
         {}},
        {"a file that only an earlier unpacking has left",
         [](const std::string& zips) { WriteFile(zips + "0_Server/Common/a", "left"); },
         {{{"FileList.ini", one}}},
         {"install"}},
    };
    return cases;
}

TEST_F(InstallCommands, PlanAgreesWithInstall) {
    for (const Scenario& c : Scenarios()) {
        SCOPED_TRACE(c.what);
        EmptyPrivateMounts();
        fs::create_directories("/usr/local/vornserver/bin/microservices");
        fs::remove_all(packages_);
        c.prepare(packages_);
        std::vector<std::string> zips;
        for (const auto& package : c.packages) {
            zips.push_back(AddZip(std::to_string(zips.size()) + "_Server.zip", package));
        }
        const std::string update = DescribeZips(zips);
        const ProcessResult plan = RunForJson(ServerSide("plan", update));
        const ProcessResult install = RunForJson(ServerSide("install", update));
        EXPECT_EQ(plan.exitCode, c.status) << plan.err;
        EXPECT_EQ(install.exitCode, c.status) << install.out << install.err;
        EXPECT_EQ(ResultsIn(plan.out), c.results);
        std::vector<std::string> outcomes;
        for (const std::string& result : c.results) {
            outcomes.emplace_back(result == "unchanged" ? "unchanged"
                                  : c.status == kDone   ? "installed"
                                                        : "failed");
        }
        EXPECT_EQ(ResultsIn(install.out), outcomes);
    }
}

TEST_F(InstallCommands, PlanReportsFileLargerThanDeclared) {
    const std::string zip = AddPackage();
    DeclareSize(zip, "Common/a.so", 3);
    const std::string update = DescribeZips({zip});
    const ProcessResult plan = Run(ServerSide("plan", update));
    EXPECT_EQ(plan.exitCode, kFailed);
    EXPECT_THAT(plan.out, HasSubstr("Common/a.so: larger than the 3 bytes that the zip declares"));
}

TEST_F(InstallCommands, PlanReportsManifestLargerThanDeclared) {
    const std::string zip = AddPackage();
    DeclareSize(zip, "FileList.ini", 10);
    const ProcessResult plan = Run(ServerSide("plan", DescribeZips({zip})));
    EXPECT_EQ(plan.exitCode, kFailed);
    EXPECT_THAT(plan.out,
                HasSubstr("FileList.ini: larger than the 10 bytes that the zip declares"));
}

TEST_F(InstallCommands, PlanReportsTooLargeManifest) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini", kManifest + std::string(17 << 20, '\n')}});
    const ProcessResult plan = Run(ServerSide("plan", DescribeZips({zip})));
    EXPECT_EQ(plan.exitCode, kFailed);
    EXPECT_THAT(plan.out, HasSubstr("FileList.ini: larger than the limit of 16 MiB"));
}

TEST_F(InstallCommands, AcceptsRelativeRoot) {
    const std::string update = DescribeZips({AddPackage()});
    for (const char* const command : {"plan", "install"}) {
        EXPECT_THAT(Output({"package", command, "--side", "server", "--root", "microservices",
                            "--update", update},
                           InDirectory(process_)),
                    HasSubstr("P_1.0_Server.zip"));
    }
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(InstallCommands, PlanFollowsLinks) {
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", kManifest);
    WriteFile(contents / "Common/a.so", "a");
    fs::create_symlink("a.so", contents / "Common/b.so");
    fs::create_directories(packages_);
    const std::string zip = packages_ + "L_Server.zip";
    OutputOf("cd " + contents.Path() + " && zip -qry " + zip + " .");
    const auto arguments = ServerSide("install", DescribeZips({zip}));
    Output(ServerSide("plan", arguments.back()));
    EXPECT_THAT(Output(arguments), HasSubstr("L_Server.zip  2 "));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "a");
}

TEST_F(InstallCommands, PlanReadsZipsFromBundles) {
    const std::string inner = packages_ + "All_Server_Release/P_Server.zip";
    MakeZip(inner, {{"FileList.ini", kManifest}, {"Common/a.so", "new"}, {"Common/b.so", "new"}});
    const std::string bundle =
        AddZip("All_Server_Release.zip", {{"P_Server.zip", ReadFile(inner)}});
    const Json record = {{"platform", "Model-A"},
                         {"sha256Hash", Sha256Of(inner)},
                         {"downloadUrl", "https://host/All_Server_Release.zip"}};
    WriteFile(directory_ / "u.json", Json{{"packageInfo", Json::array({record})}}.dump());
    MakeZip(inner, {{"FileList.ini", kManifest}});  // of an older bundle

    const ProcessResult plan = RunForJson(ServerSide("plan", directory_ / "u.json"));
    EXPECT_EQ(plan.exitCode, kDone) << plan.err;
    EXPECT_EQ(Json::parse(plan.out).at("bundles"), Json::array({bundle}));
    EXPECT_EQ(ResultsIn(plan.out), std::vector<std::string>({"install", "install"}));
    EXPECT_THAT(Output(ServerSide("install", directory_ / "u.json")),
                AllOf(HasSubstr("release bundle " + bundle), HasSubstr("P_Server.zip  2 ")));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "new");
}

TEST_F(InstallCommands, IgnoresUnnamedBundle) {
    const std::string bundle = AddZip("All_Server_Release.zip", {{"a", "A"}});
    const std::string update = DescribeZips({AddPackage("P_Client.zip")});
    const ProcessResult plan = RunForJson(ServerSide("plan", update));
    EXPECT_EQ(Json::parse(plan.out).at("unmatched"), Json::array({bundle}));
    EXPECT_THAT(Output(ServerSide("install", update)), HasSubstr("nothing to install"));
}

// The library would hand the path to the shell as it is.
TEST_F(InstallCommands, RejectsPathsThatShellWouldInterpret) {
    for (const std::string name : {"P x_Server.zip", "P;x_Server.zip", "P$(x)_Server.zip"}) {
        fs::remove_all(packages_);
        const std::string zip = AddPackage(name);
        const std::string update = DescribeZips({zip});
        const auto before = Snapshot(root_ + "/Package");
        for (const char* const command : {"plan", "install"}) {
            EXPECT_THAT(
                Failure(ServerSide(command, update)),
                HasSubstr("which sh or unzip would interpret; rename the file or its directory"));
        }
        EXPECT_EQ(Snapshot(root_ + "/Package"), before);
    }
}

TEST_F(InstallCommands, PlanAndInstallRejectSamePolicies) {
    fs::create_directories(root_ + "/Package");
    using Items = std::map<std::string, std::string>;
    const Items cases[] = {
        {{"VirtualChannelEnable", "1"},
         {"VirtualChannelPluginDetails", "{platform, sha256Hash, packageName}"}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "0"},
         {"VirtualChannelPluginDetails", "{platform, sha256Hash, packageName}"}},
        {{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "1"},
         {"VirtualChannelPluginDetails", R"({"packageInfo": [{"packageName": "P"}]})"}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "1"},
         {"VirtualChannelPluginDetails", "bm90IHJlbGV2YW50"}},
    };
    for (const Items& items : cases) {
        PublishItems(items);
        std::vector<std::string> arguments = {"package", "plan", "--side",     "server",
                                              "--root",  root_,  "--terminal", "7"};
        const std::string refusal = Failure(arguments);
        EXPECT_THAT(refusal, HasSubstr("policy 7"));
        arguments[1] = "install";
        EXPECT_EQ(Failure(arguments), refusal);
    }
}

TEST_F(InstallCommands, PlanReadsDebugItem) {
    const std::string update = DescribeZips({AddPackage()});
    PublishItems({{"PolicyName", "p"},
                  {"VirtualChannelEnable", "1"},
                  {"ThirdPartyPluginNames", ReadFile(update)}});
    const std::vector<std::string> arguments = {"package", "plan", "--side",     "server",
                                                "--root",  root_,  "--terminal", "7"};
    EXPECT_THAT(Failure(arguments), HasSubstr("no update description"));
    WriteFile("/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini",
              "[PolicyName]\ndebugVc=1\n");
    EXPECT_THAT(Output(arguments), HasSubstr("install"));
}

TEST_F(InstallCommands, InstallPrintsSummary) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    auto arguments = ServerSide("install", DescribeZips({zip}));
    arguments.emplace_back("--json");
    const Json first = Json::parse(Output(arguments)).at("packages").at(0);
    EXPECT_EQ(first.at("installed"), 2);
    EXPECT_EQ(first.at("unchanged"), 0);
    EXPECT_EQ(first.at("failed"), 0);
    EXPECT_EQ(first.at("backups"), 1);
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so.bak"), "older contents");

    const Json second = Json::parse(Output(arguments)).at("packages").at(0);
    EXPECT_EQ(second.at("installed"), 0);
    EXPECT_EQ(second.at("unchanged"), 2);
}

TEST_F(InstallCommands, InstallReadsRecordsFromPolicy) {
    const std::string update = DescribeZips({AddPackage()});
    PublishItems({{"PolicyName", "p"},
                  {"VirtualChannelEnable", "1"},
                  {"VirtualChannelPluginDetails", OutputOf("base64 <" + update)}});
    EXPECT_THAT(
        Output({"package", "install", "--side", "server", "--root", root_, "--terminal", "7"}),
        HasSubstr("P_1.0_Server.zip  2"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(InstallCommands, InstallReportsFailedFile) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini", kManifest}, {"Common/a.so", "contents of a"}});
    const ProcessResult result = Run(ServerSide("install", DescribeZips({zip})));
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, HasSubstr("/usr/local/plugins/b.so: the package does not have"));
    EXPECT_THAT(result.err, HasSubstr("nothing was changed"));
    EXPECT_FALSE(fs::exists("/usr/local/plugins"));
}

TEST_F(InstallCommands, InstallSelectsSide) {
    const std::string manifest = ManifestOf("p=/usr/local/plugins/\n[p]\nf=a\n");
    const std::vector<std::string> zips = {
        AddZip("P_Server.zip", {{"FileList.ini", manifest}, {"Common/a", "server"}}),
        AddZip("P_Client.zip", {{"FileList.ini", manifest}, {"Common/a", "client"}})};
    const std::string update = DescribeZips(zips);
    for (const std::string side : {"client", "server"}) {
        Output({"package", "install", "--side", side, "--root", root_, "--update", update});
        EXPECT_EQ(ReadFile("/usr/local/plugins/a"), side);
    }
}

TEST_F(InstallCommands, InstallReportsMissingZip) {
    const std::string update = DescribeZips({AddPackage("P_Client.zip")});
    fs::remove(packages_ + "P_Server.zip");
    EXPECT_THAT(Failure(ServerSide("install", update)),
                HasSubstr("no zip with \"_Server\" in its path"));
}

TEST_F(InstallCommands, InstallReadsStandardInput) {
    const std::string update = DescribeZips({AddPackage()});
    EXPECT_THAT(Output(ServerSide("install", "-"), Input(ReadFile(update))),
                HasSubstr("P_1.0_Server.zip  2"));
    EXPECT_THAT(Failure(ServerSide("plan", "-"), Input("{}")),
                HasSubstr("standard input: no package records"));
}

TEST_F(InstallCommands, RejectsWrongUsage) {
    const std::vector<std::vector<std::string>> wrong = {
        {"package", "install", "--side", "server", "--root", root_},
        {"package", "install", "--side", "server", "--root", root_, "--update", "x", "--terminal",
         "7"},
        {"package", "install", "--side", "both", "--root", root_, "--update", "x"},
        {"package", "install", "--root", root_, "--update", "x"},
        {"package", "install", "--side", "server", "--root", "", "--update", "x"},
        {"package", "install", "--side", "server", "--root", root_, "--terminal", "0x7"},
    };
    for (const auto& arguments : wrong) {
        EXPECT_EQ(Run(arguments).exitCode, kWrongUsage) << testing::PrintToString(arguments);
    }
}

}  // namespace
