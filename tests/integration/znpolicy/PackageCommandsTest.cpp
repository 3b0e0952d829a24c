// znpolicy update, package and vc: descriptions, zips, installations.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PrivateMounts.h"
#include "Program.h"
#include "RealZips.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using Json = nlohmann::ordered_json;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

const std::string kManifest =
    "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\nplugins=/usr/local/plugins/\n"
    "[plugins]\nfiles=a.so,b.so\n";

// A machine of platform Model-A with a process directory, a store and a package tree of its own.
class PackageCommands : public testing::Test {
   protected:
    PackageCommands() {
        EmptyPrivateMounts();
        fs::create_directories("/usr/local/vornserver/bin/microservices/Package");
        WriteFile(process_ + "/platforminfo.ini", "[os]\nplatform=Model-A\n");
        fs::create_directories(root_ + "/Package/Server");
    }

    ProgramResult Run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(),
                         {"--store", directory_ / "store", "--process-dir", process_});
        Program program;
        program.input = input;
        return program.Run(arguments);
    }

    // Runs a command that must succeed without a word on standard error; its output.
    std::string OutputOfCommand(const std::vector<std::string>& arguments,
                                const std::string& input = "") {
        const ProgramResult result = Run(arguments, input);
        EXPECT_EQ(result.status, kDone) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "") << testing::PrintToString(arguments);
        return result.output;
    }

    // Runs a command that must fail with one line on standard error; the line.
    std::string FailureOf(const std::vector<std::string>& arguments,
                          const std::string& input = "") {
        const ProgramResult result = Run(arguments, input);
        EXPECT_EQ(result.status, kFailed) << testing::PrintToString(arguments);
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        return result.errors;
    }

    // Publishes a policy for terminal 7 with these items.
    void PublishPolicy(const std::map<std::string, std::string>& items) {
        std::string document = "<Policy>";
        for (const auto& [key, value] : items) {
            document += "<" + key + "><![CDATA[" + value + "]]></" + key + ">";
        }
        OutputOfCommand({"policy", "publish", "7", "-"}, document + "</Policy>");
    }

    // Puts a package zip into the server's package directory; its path.
    std::string AddZip(const std::string& name, const std::map<std::string, std::string>& files) {
        const std::string path = root_ + "/Package/Server/" + name;
        MakeZip(path, files);
        return path;
    }

    // A sound package zip in the server's package directory.
    std::string AddPackage(const std::string& name = "P_1.0_Server.zip") {
        return AddZip(name, {{"FileList.ini", kManifest},
                             {"Common/a.so", "contents of a"},
                             {"Common/b.so", "contents of b"}});
    }

    // Writes an update description with one record for each of the zips; its path.
    std::string DescribeZips(const std::vector<std::string>& zips,
                             const std::string& platform = "Model-A") {
        Json records = Json::array();
        for (const std::string& zip : zips) {
            records.push_back({{"packageName", fs::path(zip).filename()},
                               {"platform", platform},
                               {"sha256Hash", Sha256Of(zip)},
                               {"size", std::to_string(fs::file_size(zip))}});
        }
        WriteFile(directory_ / "update.json", Json{{"packageInfo", records}}.dump());
        return directory_ / "update.json";
    }

    std::vector<std::string> InstallArguments(const std::string& command,
                                              const std::string& update) {
        return {"package", command, "--side", "server", "--root", root_, "--update", update};
    }

    TemporaryDirectory directory_;
    std::string process_ = directory_ / "process";
    std::string root_ = process_ + "/microservices";
};

// Every file and directory below `directory`, with the contents of files.
std::map<std::string, std::string> Snapshot(const std::string& directory) {
    std::map<std::string, std::string> snapshot;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        snapshot[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
    }
    return snapshot;
}

Json FileWith(const Json& files, const std::string& destination) {
    for (const Json& file : files) {
        if (file.at("destination") == destination) {
            return file;
        }
    }
    return nullptr;
}

// --- vc parse ---

TEST_F(PackageCommands, VcParseShowsTheItemsOfAList) {
    const Json items =
        Json::parse(OutputOfCommand({"vc", "parse", "--json", "A@{B}@0x1F@ff@C@D@E"}));
    EXPECT_EQ(items, Json::parse(R"([{"text1": "A", "text2": "B", "hexValue1": 31,
        "hexValue2": 255, "text3": "C", "text4": "D", "text5": "E"}])"));
}

TEST_F(PackageCommands, VcParseTakesAListFromStandardInputWithoutItsLastLineEnd) {
    const Json items = Json::parse(
        OutputOfCommand({"vc", "parse", "--json", "-"}, "A@B@1@2@C@D@E,F@G@3@4@H@I@J\n"));
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].at("text5"), "J");
}

TEST_F(PackageCommands, VcParseKeepsAllButTheLastLineEndInTheLastField) {
    const Json items =
        Json::parse(OutputOfCommand({"vc", "parse", "--json", "-"}, "A@B@1@2@C@D@E\n\r\n"));
    EXPECT_EQ(items.at(0).at("text5"), "E\n");
}

TEST_F(PackageCommands, VcParseNamesTheItemAndTheFieldThatAreWrong) {
    const struct {
        std::string list;
        std::string problem;
    } cases[] = {
        {"A", "the list is shorter than 2 characters"},
        {"A@B@1@2@C@D", "item 1 (\"A@B@1@2@C@D\") has 6 fields; 7 are needed"},
        {"A@B@1@2@C@D@E,{A}@B@1@2@C@D@E", "item 2 (\"{A}@B@1@2@C@D@E\") begins with a separator"},
        {"A@B@1@2@C@D@" + std::string(32, 'x'),
         "field 7 (\"" + std::string(32, 'x') + "\") has 32 characters; at most 31"},
        {"A@B@1@2@C@D@E@" + std::string(40, 'y'), "field 8"},
        {std::string(1000, 'z') + "@B", "(\"" + std::string(60, 'z') + "...\") has 2 fields"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(FailureOf({"vc", "parse", c.list}), HasSubstr(c.problem));
    }
}

// --- update ---

const std::string kDescription =
    R"({"packageInfo": [{"packageName": "P.zip", "platform": "Model-A", "version": "1.0",
        "sha256Hash": "0123456789abcdef0123456789abcdef", "size": "8388608"}]})";

TEST_F(PackageCommands, UpdateConvertListsTheRecordsOfAPlainOrEncodedDescription) {
    WriteFile(directory_ / "plain.json", kDescription);
    const std::string encoded = OutputOf("base64 <" + directory_ / "plain.json");
    for (const std::string& text : {kDescription, encoded}) {
        const std::string table = OutputOfCommand({"update", "convert", "-"}, text);
        EXPECT_THAT(table, AllOf(HasSubstr("P.zip"), HasSubstr("8.0 MiB"),
                                 HasSubstr("0123456789abcdef..."), HasSubstr("Model-A")));
        const Json records =
            Json::parse(OutputOfCommand({"update", "convert", "--json", "-"}, text));
        EXPECT_EQ(records.at(0).at("size"), 8388608);
        EXPECT_EQ(records.at(0).at("sha256Hash"), "0123456789abcdef0123456789abcdef");
    }
}

TEST_F(PackageCommands, UpdateConvertRefusesATextWithoutRecords) {
    for (const std::string text : {"", "{}", "no JSON", R"({"packageInfo": []})"}) {
        EXPECT_THAT(FailureOf({"update", "convert", "-"}, text),
                    HasSubstr("standard input: no package records"));
    }
    EXPECT_THAT(FailureOf({"update", "convert", directory_ / "missing"}),
                HasSubstr(directory_ / "missing: No such file or directory"));
}

TEST_F(PackageCommands, UpdateShowStoresTheDescriptionAndListsItsRecords) {
    PublishPolicy({{"PolicyName", "p"},
                   {"VirtualChannelEnable", "1"},
                   {"VirtualChannelPluginDetails", kDescription}});
    EXPECT_THAT(OutputOfCommand({"update", "show", "7"}), HasSubstr("P.zip"));
    EXPECT_EQ(ReadFile("/usr/local/vornserver/bin/microservices/Package/"
                       "VEK_Microservices_UpdateInfo.json"),
              kDescription);
}

TEST_F(PackageCommands, UpdateShowSaysWhyThereIsNoDescription) {
    EXPECT_THAT(FailureOf({"update", "show", "7"}), HasSubstr("there is no policy 7"));
    using Items = std::map<std::string, std::string>;
    const struct {
        Items items;
        std::string problem;
    } cases[] = {
        {{{"VirtualChannelEnable", "1"}}, "no item \"PolicyName\""},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "0"}}, "does not enable virtual channels"},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}}, "no update description"},
        {{{"PolicyName", "p"},
          {"VirtualChannelEnable", "1"},
          {"VirtualChannelPluginDetails", "bm90IHJlbGV2YW50"}},
         "does not mention \"platform\""},
    };
    for (const auto& c : cases) {
        PublishPolicy(c.items);
        EXPECT_THAT(FailureOf({"update", "show", "7"}), HasSubstr(c.problem));
    }
}

TEST_F(PackageCommands, UpdateShowSaysWhenTheDescriptionCannotBeStored) {
    fs::remove_all("/usr/local/vornserver");
    PublishPolicy({{"PolicyName", "p"},
                   {"VirtualChannelEnable", "1"},
                   {"VirtualChannelPluginDetails", kDescription}});
    EXPECT_THAT(FailureOf({"update", "show", "7"}), HasSubstr("cannot be stored"));
}

// --- package scan, unzip, path ---

TEST_F(PackageCommands, ScanListsZipsWithDigestAndSize) {
    const std::string zip = AddPackage();
    const Json records =
        Json::parse(OutputOfCommand({"package", "scan", "--json", root_ + "/Package"}));
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].at("packageName"), "P_1.0_Server.zip");
    EXPECT_EQ(records[0].at("sha256Hash"), Sha256Of(zip));
    EXPECT_EQ(records[0].at("size"), fs::file_size(zip));
    EXPECT_THAT(OutputOfCommand({"package", "scan", root_ + "/Package"}),
                HasSubstr("P_1.0_Server.zip"));
}

TEST_F(PackageCommands, ScanOfAMissingDirectoryFails) {
    EXPECT_THAT(FailureOf({"package", "scan", directory_ / "missing"}),
                HasSubstr("missing: no such directory"));
}

TEST_F(PackageCommands, UnzipUnpacksEachZipBesideItselfWithoutAWord) {
    const std::string one = AddPackage("One_Server.zip");
    const std::string two = AddPackage("Two_Server.zip");
    EXPECT_EQ(OutputOfCommand({"package", "unzip", one, two}), "");
    EXPECT_EQ(ReadFile(root_ + "/Package/Server/One_Server/Common/a.so"), "contents of a");
    EXPECT_EQ(ReadFile(root_ + "/Package/Server/Two_Server/Common/b.so"), "contents of b");
}

TEST_F(PackageCommands, UnzipOfWhatIsNoZipFails) {
    WriteFile(directory_ / "broken.zip", "no zip");
    EXPECT_THAT(FailureOf({"package", "unzip", directory_ / "broken.zip"}),
                HasSubstr("broken.zip: "));
    EXPECT_THAT(FailureOf({"package", "unzip", directory_ / "missing.zip"}),
                HasSubstr("missing.zip: No such file"));
}

TEST_F(PackageCommands, PathMakesAndPrintsAPackagesDirectory) {
    EXPECT_EQ(OutputOfCommand({"package", "path", "x_Client_1.0.zip"}),
              root_ + "/Package/Client/x_Client_1.0_Release/\n");
    EXPECT_TRUE(fs::is_directory(root_ + "/Package/Client/x_Client_1.0_Release"));
    EXPECT_EQ(OutputOfCommand({"package", "path", "x_Server_1.0.zip"}),
              root_ + "/Package/Server/\n");
    EXPECT_THAT(FailureOf({"package", "path", "x_1.0.zip"}),
                HasSubstr("neither \"Client\" nor \"Server\""));
}

// --- package check ---

TEST_F(PackageCommands, CheckPassesASoundPackage) {
    const std::string zip = AddPackage();
    EXPECT_EQ(OutputOfCommand({"package", "check", zip, "--platform", "Model-A"}),
              zip + ": 2 files for platform \"Model-A\"\n");
    const Json report = Json::parse(OutputOfCommand({"package", "check", "--json", zip}));
    EXPECT_EQ(report.at("files"), 2);
    EXPECT_THAT(report.at("errors"), IsEmpty());
    EXPECT_THAT(report.at("warnings"), IsEmpty());
}

TEST_F(PackageCommands, CheckRefusesWhatTheInstallerWouldRefuse) {
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
        const ProgramResult result = Run({"package", "check", zip});
        EXPECT_EQ(result.status, kFailed);
        EXPECT_THAT(result.output, AllOf(HasSubstr(": error: "), HasSubstr(c.problem)));
        EXPECT_THAT(result.errors, HasSubstr("the installer would refuse this package"));
    }
}

TEST_F(PackageCommands, CheckRefusesAPackageForAnotherPlatform) {
    const ProgramResult result = Run({"package", "check", AddPackage(), "--platform", "Model-B"});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.output, HasSubstr("for platform \"Model-A\", not for \"Model-B\""));
}

TEST_F(PackageCommands, CheckWarnsOfWhatTheInstallerTakesOnTrust) {
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
        {"P_Server.zip", manifest("/opt/../etc/", "a.so"), "p=/opt/../etc/ climbs with \"..\""},
        {"P_Server.zip", manifest("/opt/", "../Common/a.so"), "\"../Common/a.so\" climbs"},
        {"P_Server.zip", manifest("/opt/", "a.so,,b.so"), "an empty element ends the list"},
        {"P_Server.zip", manifest("/opt/", ""), "has no files"},
        {"P Server.zip", manifest("/opt/", "a.so"), "blanks or shell characters"},
        {"P;x_Server.zip", manifest("/opt/", "a.so"), "blanks or shell characters"},
        {"P.zip", manifest("/opt/", "a.so"), "neither \"_Server\" nor \"_Client\""},
        {"P_Server.zip.old", manifest("/opt/", "a.so"), "\".zip\" is not the end"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.warning);
        std::map<std::string, std::string> files = payload;
        files["FileList.ini"] = c.manifest;
        MakeZip(directory_ / ("zips/" + c.zip), files);
        const ProgramResult result = Run({"package", "check", directory_ / ("zips/" + c.zip)});
        EXPECT_THAT(result.output, AllOf(HasSubstr(": warning: "), HasSubstr(c.warning)));
    }
}

TEST_F(PackageCommands, CheckWarnsOfLinksInTheZip) {
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", kManifest);
    WriteFile(contents / "Common/a.so", "a");
    WriteFile(contents / "Common/b.so", "b");
    fs::create_symlink("/etc/passwd", contents / "Common/link");
    const std::string zip = directory_ / "L_Server.zip";
    OutputOf("cd " + contents.Path() + " && zip -qry " + zip + " .");
    EXPECT_THAT(OutputOfCommand({"package", "check", zip}), HasSubstr("Common/link is a link"));
}

// --- package build ---

TEST_F(PackageCommands, BuildMakesASoundZipAndDescribesIt) {
    WriteFile(directory_ / "P_1.0_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_1.0_Server/Common/a.so", "contents of a");
    WriteFile(directory_ / "P_1.0_Server/Common/b.so", "contents of b");
    WriteFile(directory_ / "P_1.0_Server/Common/notes.txt", "not listed");
    const Json description = Json::parse(OutputOfCommand(
        {"package", "build", directory_ / "P_1.0_Server/", "--package-version", "1.0"}));
    const std::string zip = directory_ / "P_1.0_Server.zip";
    const Json& record = description.at("packageInfo").at(0);
    EXPECT_EQ(record.at("packageName"), "P_1.0_Server.zip");
    EXPECT_EQ(record.at("platform"), "Model-A");
    EXPECT_EQ(record.at("version"), "1.0");
    EXPECT_EQ(record.at("sha256Hash"), Sha256Of(zip));
    EXPECT_EQ(record.at("size"), std::to_string(fs::file_size(zip)));
    OutputOfCommand({"package", "check", zip});
    EXPECT_EQ(OutputOf("unzip -Z1 " + zip), "FileList.ini\nCommon/a.so\nCommon/b.so\n");
}

TEST_F(PackageCommands, BuildRefusesAFolderThatLacksAListedFileAndKeepsTheOlderZip) {
    WriteFile(directory_ / "P_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_Server/Common/a.so", "a");
    WriteFile(directory_ / "P_Server.zip", "older");
    EXPECT_THAT(FailureOf({"package", "build", directory_ / "P_Server"}),
                HasSubstr("lists \"b.so\", but there is no"));
    WriteFile(directory_ / "P_Server/Common/b.so", "");
    const ProgramResult result = Run({"package", "build", directory_ / "P_Server"});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.errors, HasSubstr("Common/b.so is empty"));
    EXPECT_EQ(ReadFile(directory_ / "P_Server.zip"), "older");
    EXPECT_EQ(Snapshot(directory_.Path()).count(directory_ / ".new-P_Server.zip"), 0U);
}

// --- package plan ---

TEST_F(PackageCommands, PlanTellsFileByFileAndTouchesNothing) {
    const std::string zip = AddPackage();
    const std::string other = AddPackage("Other_Server.zip");
    WriteFile(other, ReadFile(zip) + "x");
    WriteFile("/usr/local/plugins/a.so", "contents of a");
    WriteFile("/usr/local/plugins/b.so", "older contents");
    WriteFile("/usr/local/plugins/b.so.bak", "oldest contents");
    const std::string update = DescribeZips({zip});
    const auto before = Snapshot(directory_.Path());
    const auto beforeFixed = Snapshot("/usr/local");

    auto arguments = InstallArguments("plan", update);
    EXPECT_THAT(OutputOfCommand(arguments), AllOf(HasSubstr("unchanged"), HasSubstr("replace")));
    arguments.emplace_back("--json");
    const Json plan = Json::parse(OutputOfCommand(arguments));
    EXPECT_EQ(plan.at("unmatched"), Json::array({other}));
    const Json& files = plan.at("packages").at(0).at("files");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/a.so").at("result"), "unchanged");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/b.so").at("result"), "replace");
    EXPECT_EQ(FileWith(files, "/usr/local/plugins/b.so").at("dropsBackup"), true);

    EXPECT_EQ(Snapshot(directory_.Path()), before);
    EXPECT_EQ(Snapshot("/usr/local"), beforeFixed);
}

TEST_F(PackageCommands, PlanTellsWhatWouldMakeTheInstallationFail) {
    const std::string lacking =
        AddZip("P_Server.zip", {{"FileList.ini", kManifest}, {"Common/b.so", "contents of b"}});
    const ProgramResult result = Run(InstallArguments("plan", DescribeZips({lacking})));
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("the package does not have the file"), HasSubstr("not reached")));
    EXPECT_THAT(result.errors, HasSubstr("the installation would fail"));

    const ProgramResult foreign =
        Run(InstallArguments("plan", DescribeZips({AddPackage()}, "Model-B")));
    EXPECT_EQ(foreign.status, kFailed);
    EXPECT_THAT(foreign.output, HasSubstr("this machine's platform is \"Model-A\""));
}

// --- package install ---

TEST_F(PackageCommands, InstallSumsUpWhatItDid) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    auto arguments = InstallArguments("install", DescribeZips({zip}));
    arguments.emplace_back("--json");
    const Json first = Json::parse(OutputOfCommand(arguments)).at("packages").at(0);
    EXPECT_EQ(first.at("installed"), 2);
    EXPECT_EQ(first.at("unchanged"), 0);
    EXPECT_EQ(first.at("failed"), 0);
    EXPECT_EQ(first.at("backups"), 1);
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so.bak"), "older contents");

    const Json second = Json::parse(OutputOfCommand(arguments)).at("packages").at(0);
    EXPECT_EQ(second.at("installed"), 0);
    EXPECT_EQ(second.at("unchanged"), 2);
}

TEST_F(PackageCommands, InstallTakesTheRecordsFromATerminalsPolicy) {
    const std::string update = DescribeZips({AddPackage()});
    PublishPolicy({{"PolicyName", "p"},
                   {"VirtualChannelEnable", "1"},
                   {"VirtualChannelPluginDetails", OutputOf("base64 <" + update)}});
    EXPECT_THAT(OutputOfCommand(
                    {"package", "install", "--side", "server", "--root", root_, "--terminal", "7"}),
                HasSubstr("P_1.0_Server.zip  2"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(PackageCommands, InstallFailsWhenAFileOfAPackageCannotBeInstalled) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini", kManifest}, {"Common/a.so", "contents of a"}});
    const ProgramResult result = Run(InstallArguments("install", DescribeZips({zip})));
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.output, HasSubstr("/usr/local/plugins/b.so: the package does not have"));
    EXPECT_THAT(result.errors, HasSubstr("packages not installed: 1"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(PackageCommands, InstallFailsWithoutAZipOfTheSide) {
    const std::string update = DescribeZips({AddPackage("P_Client.zip")});
    fs::remove(root_ + "/Package/Server/P_Server.zip");
    EXPECT_THAT(FailureOf(InstallArguments("install", update)),
                HasSubstr("no zip with \"_Server\" in its path"));
}

TEST_F(PackageCommands, InstallWantsExactlyOneSourceOfRecordsAndAKnownSide) {
    const std::vector<std::vector<std::string>> wrong = {
        {"package", "install", "--side", "server", "--root", root_},
        {"package", "install", "--side", "server", "--root", root_, "--update", "x", "--terminal",
         "7"},
        {"package", "install", "--side", "both", "--root", root_, "--update", "x"},
        {"package", "install", "--root", root_, "--update", "x"},
    };
    for (const auto& arguments : wrong) {
        EXPECT_EQ(Run(arguments).status, kWrongUsage) << testing::PrintToString(arguments);
    }
}

// --- package rollback ---

TEST_F(PackageCommands, RollbackPutsTheBackupsBack) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    OutputOfCommand(InstallArguments("install", DescribeZips({zip})));

    const Json files = Json::parse(OutputOfCommand({"package", "rollback", "--json", zip}));
    EXPECT_EQ(files, Json::parse(R"([
        {"file": "/usr/local/plugins/a.so", "result": "no backup", "reason": ""},
        {"file": "/usr/local/plugins/b.so", "result": "restored", "reason": ""}])"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "older contents");
    EXPECT_FALSE(fs::exists("/usr/local/plugins/b.so.bak"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(PackageCommands, RollbackKeepsAFileThatSomebodyChangedUnlessForced) {
    const std::string zip = AddPackage();
    WriteFile("/usr/local/plugins/b.so", "older contents");
    OutputOfCommand(InstallArguments("install", DescribeZips({zip})));
    WriteFile("/usr/local/plugins/b.so", "changed by hand");

    const std::string unpacked = root_ + "/Package/Server/P_1.0_Server";
    const ProgramResult result = Run({"package", "rollback", unpacked});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.output, HasSubstr("kept"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "changed by hand");

    OutputOfCommand({"package", "rollback", "--force", unpacked});
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "older contents");
}

}  // namespace
