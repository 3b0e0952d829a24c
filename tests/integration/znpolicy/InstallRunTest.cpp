// What a run of package install guarantees beyond the library: it happens entirely or not at all.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "PackageTest.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kPlugins = "/usr/local/plugins/";

class InstallRun : public PackageTest {
   protected:
    std::vector<std::string> Command(const std::string& name,
                                     const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {"package", name, "--root", root_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    // Everything but the state of the runs.
    std::map<std::string, std::string> State() {
        auto state = Snapshot("/usr/local");
        state.merge(Snapshot(directory_.Path()));
        for (auto entry = state.begin(); entry != state.end();) {
            entry = entry->first.find("/.znpolicy") != std::string::npos ? state.erase(entry)
                                                                         : std::next(entry);
        }
        return state;
    }

    void MakeStateDirectory() const {
        fs::create_directories(root_ + "/.znpolicy");
        fs::permissions(root_ + "/.znpolicy", fs::perms::owner_all);
    }

    // As if the last run, which was the first one, had been interrupted.
    void InterruptFirstRun() const {
        fs::rename(root_ + "/.znpolicy/history/1", root_ + "/.znpolicy/journal");
    }

    // Runs an installation that must fail and change nothing. Returns its output, both streams.
    std::string ExpectNothingChanged(const std::vector<std::string>& arguments,
                                     const ProcessOptions& options = {}) {
        const auto before = State();
        const ProcessResult result = Run(arguments, options);
        EXPECT_EQ(result.exitCode, kFailed) << result;
        EXPECT_EQ(State(), before);
        return result.out + result.err;
    }
};

TEST_F(InstallRun, PackageWithBadCrcIsNotInstalled) {
    const std::string zip = AddPackage();
    std::string bytes = ReadFile(zip);
    const size_t at = bytes.find("contents of b");
    ASSERT_NE(at, std::string::npos) << "the zip should store its files without compression";
    bytes[at] = 'X';
    WriteFile(zip, bytes);
    WriteFile(kPlugins + "b.so", "old");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", DescribeZips({zip}))),
                AllOf(HasSubstr("nothing was changed"), HasSubstr("Common/b.so")));
}

TEST_F(InstallRun, EncryptedPackageIsNotInstalled) {
    const std::string zip = packages_ + "P_1.0_Server.zip";
    const TemporaryDirectory contents;
    WriteFile(contents / "FileList.ini", kManifest);
    WriteFile(contents / "Common/a.so", "a");
    WriteFile(contents / "Common/b.so", "b");
    OutputOf("cd " + contents.Path() + " && zip -q -P secret -r " + zip + " .");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", DescribeZips({zip}))),
                HasSubstr("encrypted"));
}

TEST_F(InstallRun, AllReasonsAreReportedAtOnce) {
    const std::vector<std::string> zips = {
        AddZip("A_Server.zip", {{"FileList.ini", kManifest}, {"Common/a.so", "a"}}),
        AddZip("B_Server.zip", {{"Common/a.so", "b"}})};
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", DescribeZips(zips))),
                AllOf(HasSubstr("A_Server.zip: /usr/local/plugins/b.so"),
                      HasSubstr("B_Server.zip: there is no")));
}

TEST_F(InstallRun, TwoSpellingsOfOneFileCountOnce) {
    const std::string zip = AddZip(
        "P_Server.zip",
        {{"FileList.ini", ManifestOf("p=" + kPlugins + "\n[p]\nf=./a,a\n")}, {"Common/a", "new"}});
    WriteFile(kPlugins + "a", "old");
    const ProcessResult result = RunForJson(ServerSide("install", DescribeZips({zip})));
    const Json package = Json::parse(result.out).at("packages").at(0);
    EXPECT_EQ(package.at("installed"), 1);
    EXPECT_EQ(package.at("unchanged"), 1);
    EXPECT_EQ(package.at("backups"), 1);
    EXPECT_EQ(ReadFile(kPlugins + "a"), "new");
    EXPECT_EQ(ReadFile(kPlugins + "a.bak"), "old");
}

TEST_F(InstallRun, FileOfThePackageIsNoBackup) {
    const std::string zip = AddZip(
        "P_Server.zip", {{"FileList.ini", ManifestOf("p=" + kPlugins + "\n[p]\nf=a,a.bak\n")},
                         {"Common/a", "new"},
                         {"Common/a.bak", "belongs to the package"}});
    WriteFile(kPlugins + "a", "old");
    const std::string update = DescribeZips({zip});
    const auto before = State();
    const ProcessResult result = RunForJson(ServerSide("install", update));
    const Json package = Json::parse(result.out).at("packages").at(0);
    EXPECT_EQ(package.at("installed"), 2);
    EXPECT_EQ(package.at("backups"), 0);
    EXPECT_EQ(ReadFile(kPlugins + "a.bak"), "belongs to the package");
    EXPECT_FALSE(fs::exists(kPlugins + "a.bak.bak"));
    Output(Command("rollback"));
    EXPECT_EQ(State(), before);
}

TEST_F(InstallRun, SecondRunFailsOrWaitsWhileOneIsGoingOn) {
    const std::string update = DescribeZips({AddPackage()});
    MakeStateDirectory();
    const FileDescriptor lock =
        FileDescriptor::Open((root_ + "/.znpolicy/lock").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(flock(lock.Get(), LOCK_EX), 0);
    ASSERT_EQ(lock.Write("4711", 4), 4);
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                AllOf(HasSubstr("process 4711"), HasSubstr("--wait")));
    EXPECT_THAT(ExpectNothingChanged(Command("recover")), HasSubstr("process 4711"));
    EXPECT_THAT(ExpectNothingChanged(Command("rollback")), HasSubstr("process 4711"));
    EXPECT_THAT(ExpectNothingChanged({"package", "rollback", packages_ + "P_1.0_Server.zip"}),
                HasSubstr("process 4711"));

    auto arguments = ServerSide("install", update);
    arguments.insert(arguments.end(), {"--wait", "60"});
    arguments.insert(arguments.begin(), {ZNPOLICY, "--process-dir", process_});
    ChildProcess waiting(arguments);
    ASSERT_EQ(flock(lock.Get(), LOCK_UN), 0);
    EXPECT_TRUE(waiting.Wait().Succeeded());
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "contents of a");
}

TEST_F(InstallRun, SearchPathOfTheUserDoesNotMatter) {
    const std::string update = DescribeZips({AddPackage()});
    WriteFile(packages_ + "P_1.0_Server/Common/a.so", "changed after an earlier run");
    Output(ServerSide("install", update),
           Variables({{"PATH", "/nowhere"}, {"UNZIP", "-t"}, {"UNZIPOPT", "-t"}}));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "contents of a");
}

TEST_F(InstallRun, MissingUnzipIsReportedBeforeAnythingChanges) {
    const std::string update = DescribeZips({AddPackage()});
    WriteFile(packages_ + "P_1.0_Server/Common/a.so", "changed after an earlier run");
    const std::string unzip = fs::canonical(OutputOf("printf %s \"$(command -v unzip)\""));
    ASSERT_EQ(mount("/dev/null", unzip.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr("there is no unzip in "));
    umount2(unzip.c_str(), MNT_DETACH);
}

// The kept files are copies then, which a rollback copies back.
TEST_F(InstallRun, SpaceForARollbackToAnotherFileSystemIsChecked) {
    const std::string update = DescribeZips({AddPackage()});
    fs::create_directories(kPlugins);
    ASSERT_EQ(mount("plugins", kPlugins.c_str(), "tmpfs", 0, "size=300k"), 0);
    WriteFile(kPlugins + "a.so", std::string(100000, 'o'));
    WriteFile(kPlugins + "a.so.bak", std::string(100000, 'b'));
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr(": not enough space: "));
    fs::remove(kPlugins + "a.so.bak");
    Output(ServerSide("install", update));
}

TEST_F(InstallRun, SignalEndsWaitingAndLeavesNoTemporaryFiles) {
    AddPackage();
    const TemporaryDirectory temporary;
    const std::vector<std::pair<int, int>> signals = {{SIGINT, 130}, {SIGTERM, 143}};
    for (const auto& [signal, status] : signals) {
        const std::string update = DescribeZips({packages_ + "P_1.0_Server.zip"});
        MakeStateDirectory();
        const FileDescriptor lock =
            FileDescriptor::Open((root_ + "/.znpolicy/lock").c_str(), O_RDWR | O_CREAT, 0600);
        ASSERT_EQ(flock(lock.Get(), LOCK_EX), 0);
        const auto before = State();
        auto arguments = ServerSide("install", update);
        arguments.insert(arguments.end(), {"--wait", "60"});
        arguments.insert(arguments.begin(), {ZNPOLICY, "--process-dir", process_});
        ChildProcess child(arguments, Variables({{"TMPDIR", temporary.Path()}}));
        while (fs::is_empty(temporary.Path())) {
            usleep(1000);
        }
        child.Send(signal);
        const ProcessResult result = child.Wait();
        EXPECT_EQ(result.exitCode, status) << result;
        EXPECT_THAT(result.err, HasSubstr("interrupted; nothing was changed"));
        EXPECT_EQ(State(), before);
        EXPECT_TRUE(fs::is_empty(temporary.Path()));
    }
}

TEST_F(InstallRun, MissingPlatformFileIsNamed) {
    const std::string update = DescribeZips({AddPackage()});
    fs::remove(process_ + "/platforminfo.ini");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr(process_ + "/platforminfo.ini"));
}

TEST_F(InstallRun, ReleaseBundleThatARecordAsksForIsReported) {
    const std::string zip = AddPackage("a_Server_Release.zip");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", DescribeZips({zip}))),
                AllOf(HasSubstr(zip + ": a record asks for this zip"), HasSubstr("rename it")));
}

TEST_F(InstallRun, ManyZipsNeedFewDescriptors) {
    std::vector<std::string> zips;
    std::string first;
    for (int i = 0; i < 40; ++i) {
        zips.push_back(AddZip(
            std::to_string(i) + "_Server.zip",
            {{"FileList.ini", ManifestOf("p=" + kPlugins + "\n[p]\nf=" + std::to_string(i) + "\n")},
             {"Common/" + std::to_string(i), std::to_string(i)}}));
    }
    std::string command = "ulimit -n 30; exec " ZNPOLICY " --process-dir " + process_;
    for (const std::string& argument : ServerSide("install", DescribeZips(zips))) {
        command += " " + argument;
    }
    const ProcessResult result = RunProgram({"/bin/sh", "-c", command});
    EXPECT_TRUE(result.Succeeded()) << result;
    EXPECT_EQ(ReadFile(kPlugins + "39"), "39");
}

TEST_F(InstallRun, ManyBundlesNeedFewDescriptors) {
    const std::string bundle = AddZip("0_Server_Release.zip", {{"notes", "text"}});
    Json records = Json::array();
    for (int i = 0; i < 40; ++i) {
        const std::string name = std::to_string(i) + "_Server_Release.zip";
        WriteFile(packages_ + name, ReadFile(bundle));
        records.push_back({{"platform", "Model-A"},
                           {"packageName", name},
                           {"sha256Hash", std::string(64, '0')},
                           {"downloadUrl", "https://host/" + name}});
    }
    WriteFile(directory_ / "update.json", Json{{"packageInfo", records}}.dump());
    std::string command = "ulimit -n 30; exec " ZNPOLICY " --process-dir " + process_;
    for (const std::string& argument : ServerSide("plan", directory_ / "update.json")) {
        command += " " + argument;
    }
    const ProcessResult result =
        RunProgram({"/bin/sh", "-c", command + " --json --ignore-missing"});
    EXPECT_TRUE(result.Succeeded()) << result;
    const Json plan = Json::parse(result.out);
    EXPECT_EQ(plan.at("bundles").size(), 40U);
    EXPECT_TRUE(plan.at("unmatched").empty());
}

TEST_F(InstallRun, RecordWithoutZipFailsUnlessIgnored) {
    const std::string missing = AddPackage("Missing_Server.zip");
    const std::string zip = AddZip(
        "P_Server.zip", {{"FileList.ini", kManifest}, {"Common/a.so", "a"}, {"Common/b.so", "b"}});
    auto arguments = ServerSide("install", DescribeZips({missing, zip}));
    fs::remove(missing);
    EXPECT_THAT(ExpectNothingChanged(arguments), HasSubstr("Missing_Server.zip"));
    arguments.emplace_back("--dry-run");
    EXPECT_THAT(ExpectNothingChanged(arguments), HasSubstr("Missing_Server.zip"));
    arguments.pop_back();
    arguments.emplace_back("--ignore-missing");
    const Json answer = Json::parse(RunForJson(arguments).out);
    EXPECT_EQ(answer.at("result"), "installed");
    EXPECT_EQ(answer.at("missing"), Json::array({"Missing_Server.zip"}));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "a");
}

TEST_F(InstallRun, DryRunChangesNothing) {
    auto arguments = ServerSide("install", DescribeZips({AddPackage()}));
    arguments.emplace_back("--dry-run");
    const auto before = State();
    EXPECT_THAT(Output(arguments), HasSubstr("install  /usr/local/plugins/a.so"));
    EXPECT_EQ(State(), before);
    EXPECT_FALSE(fs::exists(root_ + "/.znpolicy"));
}

TEST_F(InstallRun, PlanSaysThatInstallWouldRecoverFirst) {
    const std::string update = DescribeZips({AddPackage()});
    Output(ServerSide("install", update));
    EXPECT_EQ(Json::parse(RunForJson(ServerSide("plan", update)).out).at("recovers"), false);
    InterruptFirstRun();
    EXPECT_EQ(Json::parse(RunForJson(ServerSide("plan", update)).out).at("recovers"), true);
    auto arguments = ServerSide("install", update);
    arguments.emplace_back("--dry-run");
    EXPECT_THAT(Output(arguments), HasSubstr("install first restores the state before"));
}

TEST_F(InstallRun, OutputThatCannotBeWrittenRollsBack) {
    ProcessOptions options;
    options.outputFile = "/dev/full";
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", DescribeZips({AddPackage()})), options),
                HasSubstr("standard output"));
}

TEST_F(InstallRun, ReaderThatWentAwayRollsBack) {
    std::vector<std::string> command = ServerSide("install", DescribeZips({AddPackage()}));
    command.insert(command.begin(), {ZNPOLICY, "--process-dir", process_});
    const auto before = State();
    const ProcessResult result = RunInChild([&] {
        std::array<int, 2> ends = {};
        if (pipe(ends.data()) == 0 && dup2(ends[1], STDOUT_FILENO) >= 0) {
            close(ends[0]);
            close(ends[1]);
            ReplaceProcess(command);
        }
    });
    EXPECT_EQ(result.exitCode, kFailed) << result;
    EXPECT_EQ(State(), before);
}

TEST_F(InstallRun, ReasonComesFromTheLog) {
    const std::string update = DescribeZips({AddPackage()});
    fs::create_directories("/usr/local/vornserver/bin/microservices/vcUpdated.mark");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr("Failed RemoveFile:"));
}

TEST_F(InstallRun, MissingDirectoryOfTheMarkIsReportedBefore) {
    const std::string update = DescribeZips({AddPackage()});
    fs::remove_all("/usr/local/vornserver");
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr("the update mark cannot be written"));
}

TEST_F(InstallRun, BackupThatIsNoFileIsNotTouched) {
    const std::string update = DescribeZips({AddPackage()});
    fs::create_directories(kPlugins);
    ASSERT_EQ(mkfifo((kPlugins + "a.so.bak").c_str(), 0600), 0);
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr("a.so.bak is not a regular file"));
}

TEST_F(InstallRun, RecoveredPathsAreReportedWhenTheRunFails) {
    const std::string update = DescribeZips({AddPackage()});
    Output(ServerSide("install", update));
    InterruptFirstRun();
    fs::remove_all(root_ + "/Package");
    fs::create_directory(root_ + "/Package");
    const ProcessResult result = RunForJson(ServerSide("install", update));
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(Json::parse(result.out).at("recovered").dump(), HasSubstr(kPlugins + "a.so"));
    EXPECT_FALSE(fs::exists(kPlugins + "a.so"));
}

TEST_F(InstallRun, JsonContainsErrors) {
    auto arguments = ServerSide("install", DescribeZips({AddPackage()}));
    const ProcessResult refused =
        RunForJson(ServerSide("install", DescribeZips({AddZip("B_Server.zip", {{"x", "y"}})})));
    EXPECT_EQ(Json::parse(refused.out).at("result"), "failed");
    EXPECT_THAT(Json::parse(refused.out).at("reasons").at(0).get<std::string>(),
                HasSubstr("B_Server.zip: there is no"));
    EXPECT_THAT(Json::parse(refused.err).at("error").at("reasons").at(0).get<std::string>(),
                HasSubstr("B_Server.zip: there is no"));
    fs::remove_all(root_ + "/Package");
    const ProcessResult impossible = RunForJson(arguments);
    EXPECT_EQ(impossible.exitCode, kFailed);
    EXPECT_EQ(Json::parse(impossible.out).at("result"), "failed");
    EXPECT_THAT(Json::parse(impossible.out).at("reasons").at(0).get<std::string>(),
                HasSubstr("no such directory"));
    EXPECT_THAT(Json::parse(impossible.err).at("error").at("message").get<std::string>(),
                HasSubstr("no such directory"));
    arguments.emplace_back("--json");
    const ProcessResult noTemporary = Run(arguments, Variables({{"TMPDIR", "/nowhere"}}));
    EXPECT_EQ(Json::parse(noTemporary.out).at("result"), "failed");
    EXPECT_THAT(Json::parse(noTemporary.out).at("reasons").at(0).get<std::string>(),
                HasSubstr("/nowhere"));
    const ProcessResult nothing = RunForJson(Command("rollback"));
    EXPECT_EQ(nothing.out, "");
    EXPECT_THAT(Json::parse(nothing.err).at("error").at("message").get<std::string>(),
                HasSubstr("there is no run to roll back"));
}

TEST_F(InstallRun, NumberOfKeptRunsIsChecked) {
    auto arguments = ServerSide("install", DescribeZips({AddPackage()}));
    arguments.insert(arguments.end(), {"--keep", ""});
    for (const std::string wrong : {"-1", "1001", "3x", "18446744073709551616"}) {
        arguments.back() = wrong;
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, kWrongUsage) << wrong;
        EXPECT_THAT(result.err, HasSubstr("\"" + wrong + "\" is not a number from 0 to 1000"));
    }
    arguments.back() = "0";
    Output(arguments);
    EXPECT_EQ(Output(Command("history")), "no runs\n");
}

TEST_F(InstallRun, StateDirectoryOfSomebodyElseIsNotTrusted) {
    const std::string update = DescribeZips({AddPackage()});
    MakeStateDirectory();
    fs::permissions(root_ + "/.znpolicy", fs::perms::all);
    EXPECT_THAT(ExpectNothingChanged(ServerSide("install", update)),
                HasSubstr(root_ + "/.znpolicy has to be a directory that"));
    EXPECT_THAT(ExpectNothingChanged(Command("recover")), HasSubstr("/.znpolicy has to be"));
}

TEST_F(InstallRun, HistoryListsTheLastRuns) {
    EXPECT_EQ(Output(Command("history")), "no runs\n");
    for (int i = 1; i <= 4; ++i) {
        const std::string zip = AddZip("P_Server.zip", {{"FileList.ini", kManifest},
                                                        {"Common/a.so", std::to_string(i)},
                                                        {"Common/b.so", "same"}});
        auto arguments = ServerSide("install", DescribeZips({zip}));
        arguments.insert(arguments.end(), {"--keep", "2"});
        Output(arguments);
        Output(arguments);  // changes nothing, and is not listed
    }
    EXPECT_THAT(Output(Command("history")),
                AllOf(HasSubstr("run 4, "), HasSubstr("run 3, "), Not(HasSubstr("run 2, ")),
                      HasSubstr("  package P_Server.zip"),
                      HasSubstr("  replaced /usr/local/plugins/a.so")));
    const Json runs = Json::parse(RunForJson(Command("history")).out);
    EXPECT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs.at(0).at("run"), 4);
    EXPECT_EQ(runs.at(0).at("files"),
              Json::parse(R"([{"destination": "/usr/local/plugins/a.so", "result": "replaced"}])"));
    EXPECT_THAT(runs.at(0).at("when").get<std::string>(),
                testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z"));
}

TEST_F(InstallRun, RollbackRestoresTheStateBeforeARun) {
    WriteFile(kPlugins + "a.so", "original");
    const std::string update = DescribeZips({AddPackage()});
    const auto before = State();
    Output(ServerSide("install", update));
    Output(ServerSide("install", update));  // changes nothing
    EXPECT_THAT(Output(Command("rollback")), HasSubstr("restored /usr/local/plugins/a.so"));
    EXPECT_EQ(State(), before);
    EXPECT_THAT(Failure(Command("rollback")), HasSubstr("there is no run to roll back"));
}

TEST_F(InstallRun, RollbackRefusesFilesThatWereChangedSince) {
    WriteFile(kPlugins + "a.so", "original");
    Output(ServerSide("install", DescribeZips({AddPackage()})));
    WriteFile(kPlugins + "a.so", "changed by hand");
    EXPECT_THAT(ExpectNothingChanged(Command("rollback")),
                AllOf(HasSubstr("a.so was changed after the run"), HasSubstr("--force")));
    Output(Command("rollback", {"--force"}));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "original");
}

TEST_F(InstallRun, RefusedRollbackSaysThatItRecovered) {
    Output(ServerSide("install", DescribeZips({AddPackage()})));
    const std::string other = AddZip(
        "Q_Server.zip",
        {{"FileList.ini", ManifestOf("p=" + kPlugins + "\n[p]\nf=c.so\n")}, {"Common/c.so", "c"}});
    Output(ServerSide("install", DescribeZips({other})));
    // As if the second run had been interrupted.
    fs::rename(root_ + "/.znpolicy/history/2", root_ + "/.znpolicy/journal");
    WriteFile(kPlugins + "a.so", "changed by hand");
    const ProcessResult result = Run(Command("rollback"));
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, HasSubstr("only the interrupted run was rolled back"));
    EXPECT_FALSE(fs::exists(kPlugins + "c.so"));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "changed by hand");
}

TEST_F(InstallRun, RollbackLeavesWhatTheRunDidNotChange) {
    WriteFile(kPlugins + "a.so", "contents of a");  // as in the package
    Output(ServerSide("install", DescribeZips({AddPackage()})));
    WriteFile(kPlugins + "a.so", "newer");
    WriteFile(kPlugins + "a.so.bak", "by hand");
    WriteFile(packages_ + "P_1.0_Server/user/file", "by hand");
    Output(Command("rollback"));
    EXPECT_FALSE(fs::exists(kPlugins + "b.so"));
    EXPECT_EQ(ReadFile(kPlugins + "a.so"), "newer");
    EXPECT_EQ(ReadFile(kPlugins + "a.so.bak"), "by hand");
    EXPECT_EQ(ReadFile(packages_ + "P_1.0_Server/user/file"), "by hand");
}

TEST_F(InstallRun, RollbackRefusesBackupsThatWereChangedSince) {
    WriteFile(kPlugins + "a.so", "original");
    Output(ServerSide("install", DescribeZips({AddPackage()})));
    fs::permissions(kPlugins + "a.so.bak", fs::perms::owner_read);
    EXPECT_THAT(ExpectNothingChanged(Command("rollback")),
                HasSubstr("a.so.bak was changed after the run"));
}

TEST_F(InstallRun, RollbackOfAnEarlierRunIsNamedByNumber) {
    for (const std::string version : {"1", "2"}) {
        const std::string zip =
            AddZip("P" + version + "_Server.zip",
                   {{"FileList.ini", ManifestOf("p=" + kPlugins + "\n[p]\nf=" + version + "\n")},
                    {"Common/" + version, version}});
        Output(ServerSide("install", DescribeZips({zip})));
        fs::remove(zip);
    }
    Output(Command("rollback", {"--run", "1"}));
    EXPECT_FALSE(fs::exists(kPlugins + "1"));
    EXPECT_EQ(ReadFile(kPlugins + "2"), "2");
    EXPECT_THAT(Failure(Command("rollback", {"--run", "1"})), HasSubstr("no run 1 in the history"));
}

TEST_F(InstallRun, RecoverWithoutInterruptedRunDoesNothing) {
    EXPECT_EQ(Output(Command("recover")), "nothing to recover\n");
    EXPECT_FALSE(fs::exists(root_ + "/.znpolicy"));
    EXPECT_THAT(Failure({"package", "recover", "--root", "/nowhere"}),
                HasSubstr("/nowhere: no such directory"));
}

}  // namespace
