// znpolicy update, package and vc: descriptions, zips, installations.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
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

    ProgramResult Run(std::vector<std::string> arguments, const std::string& input = "",
                      const Environment& environment = {}) {
        arguments.insert(arguments.begin(),
                         {"--store", directory_ / "store", "--process-dir", process_});
        Program program;
        program.input = input;
        return program.Run(arguments, environment);
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

    // Runs a command with --json.
    ProgramResult RunForJson(std::vector<std::string> arguments) {
        arguments.emplace_back("--json");
        return Run(arguments);
    }

    // The result of every file, in the order of the answer.
    static std::vector<std::string> ResultsIn(const std::string& answer) {
        std::vector<std::string> results;
        const Json document = Json::parse(answer);
        for (const Json& package : document.at("packages")) {
            for (const Json& file : package.at("files")) {
                results.push_back(file.at("result"));
            }
        }
        return results;
    }

    TemporaryDirectory directory_;
    std::string process_ = directory_ / "process";
    std::string root_ = process_ + "/microservices";
};

// Works in a directory for the length of a scope.
class WorkingDirectory {
   public:
    explicit WorkingDirectory(const std::string& directory) {
        fs::current_path(directory);
    }
    ~WorkingDirectory() {
        fs::current_path(before_);
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

   private:
    fs::path before_ = fs::current_path();
};

// What the program shows on a terminal as its standard error, with `programs` first on its search
// path. `watch` is called with what has been shown so far.
std::string ShownOnTerminal(std::vector<std::string> arguments, const std::string& programs,
                            const std::function<void(const std::string&)>& watch) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    const std::string name = ptsname(terminal);
    const pid_t child = fork();
    if (child == 0) {
        const int shown = open(name.c_str(), O_RDWR | O_NOCTTY);
        setenv("PATH", (programs + ":" + std::getenv("PATH")).c_str(), 1);
        std::vector<char*> words = {const_cast<char*>("znpolicy")};
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        if (shown >= 0 && dup2(shown, STDERR_FILENO) >= 0) {
            execv(ZNPOLICY, words.data());
        }
        _exit(127);
    }
    std::string text;
    std::array<char, 256> buffer = {};
    ssize_t count = 0;
    while ((count = read(terminal, buffer.data(), buffer.size())) > 0) {  // fails at the end
        text.append(buffer.data(), static_cast<size_t>(count));
        watch(text);
    }
    close(terminal);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return text;
}

// Every file and directory below `directory`, with the contents of files.
std::map<std::string, std::string> Snapshot(const std::string& directory) {
    std::map<std::string, std::string> snapshot;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        snapshot[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
    }
    return snapshot;
}

std::set<std::string> NamesIn(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) {
        names.insert(entry.path().filename());
    }
    return names;
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
    EXPECT_THAT(FailureOf({"update", "show", "7"}), HasSubstr("no policy for id 7"));
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

TEST_F(PackageCommands, ScanOfWhatIsNoDirectoryFails) {
    EXPECT_THAT(FailureOf({"package", "scan", directory_ / "missing"}),
                HasSubstr("missing: no such directory"));
    EXPECT_THAT(FailureOf({"package", "scan", process_ + "/platforminfo.ini"}),
                HasSubstr("platforminfo.ini: not a directory"));
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

// The library does not look at what became of unzip.
TEST_F(PackageCommands, UnzipFailsWhenWhatIsThereIsOfAnEarlierUnpacking) {
    const std::string zip = AddZip("P_Server.zip", {{"file", "old"}});
    OutputOfCommand({"package", "unzip", zip});
    AddZip("P_Server.zip", {{"file", "new"}});
    const ProgramResult result =
        Run({"package", "unzip", zip}, "", {"PATH=" + directory_ / "no programs here"});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.errors, HasSubstr("unzip did not make " + root_ +
                                         "/Package/Server/P_Server/file as it is in the zip"));
}

TEST_F(PackageCommands, AZipMayBeNamedWithoutADirectory) {
    AddPackage();
    const WorkingDirectory there(root_ + "/Package/Server");
    EXPECT_EQ(OutputOfCommand({"package", "unzip", "P_1.0_Server.zip"}), "");
    EXPECT_EQ(ReadFile(root_ + "/Package/Server/P_1.0_Server/Common/a.so"), "contents of a");
    fs::remove_all("P_1.0_Server");
    EXPECT_THAT(OutputOfCommand({"package", "rollback", "P_1.0_Server.zip"}), HasSubstr("a.so"));
    EXPECT_THAT(OutputOfCommand({"package", "check", "P_1.0_Server.zip"}), HasSubstr("2 files"));
}

TEST_F(PackageCommands, ABarIsShownOnATerminalWhileTheWorkIsLongAndRemovedAtItsEnd) {
    const std::string zip = AddPackage();
    const std::string go = directory_ / "go";
    const std::string programs = directory_ / "programs";
    WriteFile(programs + "/unzip", "#!/bin/sh\nfor i in $(seq 600); do [ -e " + go +
                                       " ] && break; sleep 0.1; done\nexec " +
                                       OutputOf("command -v unzip | tr -d '\\n'") + " \"$@\"\n");
    fs::permissions(programs + "/unzip", fs::perms::owner_all);
    const std::string shown =
        ShownOnTerminal({"package", "unzip", zip}, programs, [&](const std::string& soFar) {
            if (soFar.find("0/1") != std::string::npos) {
                WriteFile(go, "");
            }
        });
    EXPECT_THAT(shown, HasSubstr("\r\x1b[Kunpacking [" + std::string(30, '.') + "] 0/1"));
    EXPECT_THAT(shown, testing::EndsWith("\r\x1b[K"));
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
        {"P_Server_Release.zip", manifest("/opt/", "a.so"), "taken for a release bundle"},
        {std::string(53, 'n') + "_Server.zip", manifest("/opt/", "a.so"), "more than 63 bytes"},
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

TEST_F(PackageCommands, CheckLooksForAFileWhereTheInstallerWouldFindIt) {
    const std::string zip =
        AddZip("P_Server.zip", {{"FileList.ini",
                                 "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n"
                                 "p=/opt/\n[p]\nf=./a.so,sub//b.so,../top\n"},
                                {"Common/a.so", "a"},
                                {"Common/sub/b.so", "b"},
                                {"top", "t"}});
    EXPECT_THAT(OutputOfCommand({"package", "check", zip}), HasSubstr("3 files"));
}

TEST_F(PackageCommands, CheckAnswersInJsonAlsoWhenItFails) {
    const std::string zip = AddZip("P_Server.zip", {{"Common/a.so", "a"}});
    const ProgramResult result = Run({"package", "check", "--json", zip});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(Json::parse(result.output).at("errors"), Json::array({"there is no FileList.ini"}));
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
    EXPECT_EQ(NamesIn(directory_.Path()).count("P_Server.zip"), 1U);
    EXPECT_EQ(NamesIn(directory_.Path()).size(), 3U);  // and the folder, and the process directory
}

TEST_F(PackageCommands, BuildNamesTheZipAsTheFolderIsNamedOnTheCommandLine) {
    WriteFile(directory_ / "real/FileList.ini", kManifest);
    WriteFile(directory_ / "real/Common/a.so", "a");
    WriteFile(directory_ / "real/Common/b.so", "b");
    fs::create_directory(directory_ / "out");
    fs::create_directory_symlink(directory_ / "real", directory_ / "P_Server");
    OutputOfCommand({"package", "build", directory_ / "P_Server"});
    EXPECT_TRUE(fs::exists(directory_ / "P_Server.zip"));
    const WorkingDirectory there(directory_ / "P_Server");
    Run({"package", "build", ".", "--into", "../out"});
    EXPECT_TRUE(fs::exists(directory_ / "out/real.zip"));
}

TEST_F(PackageCommands, BuildPutsFilesWhereTheInstallerLooksForThem) {
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
    EXPECT_THAT(FailureOf({"package", "build", directory_ / "P_Server"}),
                HasSubstr("lists \"../../outside\", which lies outside the folder"));
}

TEST_F(PackageCommands, BuildRefusesATextThatTheRecordCannotHold) {
    const ProgramResult result =
        Run({"package", "build", directory_.Path(), "--package-version", std::string(32, '1')});
    EXPECT_EQ(result.status, kWrongUsage);
    EXPECT_THAT(result.errors, HasSubstr("has more than 31 bytes"));
}

TEST_F(PackageCommands, BuildSaysWhenThereIsNoFolder) {
    EXPECT_THAT(FailureOf({"package", "build", directory_ / "missing"}),
                HasSubstr("missing: no such directory"));
    WriteFile(directory_ / "P_Server/FileList.ini", kManifest);
    WriteFile(directory_ / "P_Server/Common/a.so", "a");
    WriteFile(directory_ / "P_Server/Common/b.so", "b");
    EXPECT_THAT(
        FailureOf({"package", "build", directory_ / "P_Server", "--into", directory_ / "missing"}),
        HasSubstr("missing: no directory can be made in it"));
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

// What one installation of Model-A's packages meets, and what is to come of each file in turn.
struct Foretold {
    const char* what;
    std::function<void(const std::string& zips)> prepare;  // given the directory of the zips
    std::vector<std::map<std::string, std::string>> packages;
    std::vector<std::string> results;  // of the plan
    int status = kDone;
};

std::string ManifestOf(const std::string& paths) {
    return "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n" + paths;
}

const std::vector<Foretold>& WhatIsForetold() {
    const std::string one = ManifestOf("p=/usr/local/plugins/\n[p]\nf=a\n");
    const auto nothing = [](const std::string&) {};
    static const std::vector<Foretold> cases = {
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
        {"a directory in the place of the file becomes its backup",
         [](const std::string&) { fs::create_directories("/usr/local/plugins/a"); },
         {{{"FileList.ini", one}, {"Common/a", "1"}}},
         {"replace"}},
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

TEST_F(PackageCommands, WhatThePlanForetellsIsWhatTheInstallationDoes) {
    for (const Foretold& c : WhatIsForetold()) {
        SCOPED_TRACE(c.what);
        EmptyPrivateMounts();
        fs::create_directories("/usr/local/vornserver/bin/microservices");
        fs::remove_all(root_ + "/Package/Server");
        c.prepare(root_ + "/Package/Server/");
        std::vector<std::string> zips;
        for (const auto& package : c.packages) {
            zips.push_back(AddZip(std::to_string(zips.size()) + "_Server.zip", package));
        }
        const std::string update = DescribeZips(zips);
        const ProgramResult plan = RunForJson(InstallArguments("plan", update));
        const ProgramResult install = RunForJson(InstallArguments("install", update));
        EXPECT_EQ(plan.status, c.status) << plan.errors;
        EXPECT_EQ(install.status, c.status) << install.output << install.errors;
        EXPECT_EQ(ResultsIn(plan.output), c.results);
        std::vector<std::string> outcomes;
        for (const std::string& result : c.results) {
            outcomes.emplace_back(result == "install" || result == "replace" ? "installed"
                                  : result == "unchanged"                    ? "unchanged"
                                                                             : "failed");
        }
        EXPECT_EQ(ResultsIn(install.output), outcomes);
    }
}

TEST_F(PackageCommands, PlanAndInstallTakeARootBelowTheWorkingDirectory) {
    const std::string update = DescribeZips({AddPackage()});
    const WorkingDirectory there(process_);
    for (const char* const command : {"plan", "install"}) {
        EXPECT_THAT(OutputOfCommand({"package", command, "--side", "server", "--root",
                                     "microservices", "--update", update}),
                    HasSubstr("P_1.0_Server.zip"));
    }
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(PackageCommands, PlanFollowsALinkInTheZip) {
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", kManifest);
    WriteFile(contents / "Common/a.so", "a");
    fs::create_symlink("a.so", contents / "Common/b.so");
    fs::create_directories(root_ + "/Package/Server");
    const std::string zip = root_ + "/Package/Server/L_Server.zip";
    OutputOf("cd " + contents.Path() + " && zip -qry " + zip + " .");
    const auto arguments = InstallArguments("install", DescribeZips({zip}));
    OutputOfCommand(InstallArguments("plan", arguments.back()));
    EXPECT_THAT(OutputOfCommand(arguments), HasSubstr("L_Server.zip  2 "));
    EXPECT_EQ(ReadFile("/usr/local/plugins/b.so"), "a");
}

TEST_F(PackageCommands, PlanKnowsWhatABundleBringsInOverAnOlderZip) {
    const std::string inner = root_ + "/Package/Server/All_Server_Release/P_Server.zip";
    MakeZip(inner, {{"FileList.ini", kManifest}, {"Common/a.so", "new"}, {"Common/b.so", "new"}});
    const std::string bundle =
        AddZip("All_Server_Release.zip", {{"P_Server.zip", ReadFile(inner)}});
    const Json record = {{"platform", "Model-A"},
                         {"sha256Hash", Sha256Of(inner)},
                         {"downloadUrl", "https://host/All_Server_Release.zip"}};
    WriteFile(directory_ / "u.json", Json{{"packageInfo", Json::array({record})}}.dump());
    MakeZip(inner, {{"FileList.ini", kManifest}});  // of an older bundle

    const ProgramResult plan = RunForJson(InstallArguments("plan", directory_ / "u.json"));
    EXPECT_EQ(plan.status, kDone) << plan.errors;
    EXPECT_EQ(Json::parse(plan.output).at("bundles"), Json::array({bundle}));
    EXPECT_EQ(ResultsIn(plan.output), std::vector<std::string>({"install", "install"}));
    EXPECT_THAT(OutputOfCommand(InstallArguments("install", directory_ / "u.json")),
                AllOf(HasSubstr("release bundle " + bundle), HasSubstr("P_Server.zip  2 ")));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "new");
}

TEST_F(PackageCommands, ABundleThatNoRecordNamesIsLeftAlone) {
    const std::string bundle = AddZip("All_Server_Release.zip", {{"a", "A"}});
    const ProgramResult plan = RunForJson(InstallArguments("plan", DescribeZips({bundle})));
    EXPECT_EQ(Json::parse(plan.output).at("unmatched"), Json::array({bundle}));
    EXPECT_THAT(OutputOfCommand(InstallArguments("install", directory_ / "update.json")),
                HasSubstr("nothing to install"));
}

// The library would hand the path to the shell as it is.
TEST_F(PackageCommands, PlanAndInstallRefuseAPathThatMeansSomethingElseToTheShell) {
    for (const std::string name : {"P x_Server.zip", "P;x_Server.zip", "P$(x)_Server.zip"}) {
        fs::remove_all(root_ + "/Package/Server");
        const std::string zip = AddPackage(name);
        WriteFile(directory_ / "u.json",
                  R"({"packageInfo": [{"platform": "Model-A", "sha256Hash": ")" +
                      OutputOf("sha256sum <'" + zip + "'").substr(0, 64) + "\"}]}");
        const auto before = Snapshot(directory_.Path());
        for (const char* const command : {"plan", "install"}) {
            EXPECT_THAT(FailureOf(InstallArguments(command, directory_ / "u.json")),
                        HasSubstr("the shell would not take as they are"));
        }
        EXPECT_EQ(Snapshot(directory_.Path()), before);
    }
}

TEST_F(PackageCommands, PlanRefusesTheSamePoliciesAsInstall) {
    fs::create_directories(root_ + "/Package");
    using Items = std::map<std::string, std::string>;
    const Items cases[] = {
        {{"VirtualChannelEnable", "1"}, {"VirtualChannelPluginDetails", kDescription}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "0"},
         {"VirtualChannelPluginDetails", kDescription}},
        {{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "1"},
         {"VirtualChannelPluginDetails", R"({"packageInfo": [{"packageName": "P"}]})"}},
        {{"PolicyName", "p"},
         {"VirtualChannelEnable", "1"},
         {"VirtualChannelPluginDetails", "bm90IHJlbGV2YW50"}},
    };
    for (const Items& items : cases) {
        PublishPolicy(items);
        std::vector<std::string> arguments = {"package", "plan", "--side",     "server",
                                              "--root",  root_,  "--terminal", "7"};
        const std::string refusal = FailureOf(arguments);
        EXPECT_THAT(refusal, HasSubstr("policy 7"));
        arguments[1] = "install";
        EXPECT_EQ(FailureOf(arguments), refusal);
    }
}

TEST_F(PackageCommands, PlanTakesTheDebugItemWhenInstallWould) {
    const std::string update = DescribeZips({AddPackage()});
    PublishPolicy({{"PolicyName", "p"},
                   {"VirtualChannelEnable", "1"},
                   {"ThirdPartyPluginNames", ReadFile(update)}});
    const std::vector<std::string> arguments = {"package", "plan", "--side",     "server",
                                                "--root",  root_,  "--terminal", "7"};
    EXPECT_THAT(FailureOf(arguments), HasSubstr("no update description"));
    WriteFile("/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini",
              "[PolicyName]\ndebugVc=1\n");
    EXPECT_THAT(OutputOfCommand(arguments), HasSubstr("install"));
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
    EXPECT_THAT(result.errors, HasSubstr("packages that failed: 1"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so"), "contents of a");
}

TEST_F(PackageCommands, InstallTakesTheZipsOfItsSideOnly) {
    const std::string manifest = ManifestOf("p=/usr/local/plugins/\n[p]\nf=a\n");
    const std::vector<std::string> zips = {
        AddZip("P_Server.zip", {{"FileList.ini", manifest}, {"Common/a", "server"}}),
        AddZip("P_Client.zip", {{"FileList.ini", manifest}, {"Common/a", "client"}})};
    const std::string update = DescribeZips(zips);
    for (const std::string side : {"client", "server"}) {
        OutputOfCommand(
            {"package", "install", "--side", side, "--root", root_, "--update", update});
        EXPECT_EQ(ReadFile("/usr/local/plugins/a"), side);
    }
}

TEST_F(PackageCommands, InstallFailsWithoutAZipOfTheSide) {
    const std::string update = DescribeZips({AddPackage("P_Client.zip")});
    fs::remove(root_ + "/Package/Server/P_Server.zip");
    EXPECT_THAT(FailureOf(InstallArguments("install", update)),
                HasSubstr("no zip with \"_Server\" in its path"));
}

TEST_F(PackageCommands, InstallTakesTheRecordsFromStandardInput) {
    const std::string update = DescribeZips({AddPackage()});
    EXPECT_THAT(OutputOfCommand(InstallArguments("install", "-"), ReadFile(update)),
                HasSubstr("P_1.0_Server.zip  2"));
    EXPECT_THAT(FailureOf(InstallArguments("plan", "-"), "{}"),
                HasSubstr("standard input: no package records"));
}

TEST_F(PackageCommands, InstallWantsExactlyOneSourceOfRecordsAndAKnownSide) {
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

TEST_F(PackageCommands, RollbackNeverTakesAFileForThePackagesThatCannotBeCompared) {
    WriteFile(root_ + "/Package/Server/P_Server/FileList.ini", kManifest);
    fs::create_directories("/usr/local/plugins/a.so");  // neither this nor the package's is a file
    WriteFile("/usr/local/plugins/a.so.bak", "older");
    fs::create_directories(root_ + "/Package/Server/P_Server/Common/a.so");
    const ProgramResult result =
        RunForJson({"package", "rollback", root_ + "/Package/Server/P_Server"});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_EQ(Json::parse(result.output).at(0).at("result"), "kept");
    EXPECT_EQ(ReadFile("/usr/local/plugins/a.so.bak"), "older");
}

TEST_F(PackageCommands, RollbackPutsBackWhatAHalfInstalledPackageReplaced) {
    const std::string zip =
        AddZip("P_Server.zip",
               {{"FileList.ini", ManifestOf("p=/usr/local/plugins/\nq=/usr/local/\n[p]\nf=a\n")},
                {"Common/a", "new"}});
    WriteFile("/usr/local/plugins/a", "old");
    EXPECT_EQ(Run(InstallArguments("install", DescribeZips({zip}))).status, kFailed);
    EXPECT_EQ(ReadFile("/usr/local/plugins/a"), "new");
    EXPECT_THAT(OutputOfCommand({"package", "rollback", zip}), HasSubstr("restored"));
    EXPECT_EQ(ReadFile("/usr/local/plugins/a"), "old");
}

}  // namespace
