// An installation happens entirely or not at all, whatever system call it is killed at or fails at.
// Linux on x86-64 only: a tracer kills the program and all its children, or makes one call fail.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "ChildProcess.h"
#include "PrivateMounts.h"
#include "RealZips.h"
#include "SyscallTracer.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

const std::string kProcess = "/usr/local/vornserver/bin";
const std::string kRoot = kProcess + "/microservices";
const std::string kPlugins = kProcess + "/plugins/";
const std::string kSettings = kProcess + "/settings/";

const std::string kSameContents(30000, 's');

// Every how many system calls is tried: ZN_TORTURE_EVERY; scripts/torture tries all.
uint64_t Every() {
    const char* const value = std::getenv("ZN_TORTURE_EVERY");
    return value != nullptr ? std::strtoull(value, nullptr, 10) : 97;
}

// The same for the last calls, which commit; their number varies.
uint64_t EveryAtTheEnd() {
    return std::min<uint64_t>(Every(), 7);
}

// What is at a path: type and mode, contents or target, and modification time.
using Fact = std::tuple<mode_t, std::string, int64_t>;
using Tree = std::map<std::string, Fact>;

Fact FactOf(const std::string& path) {
    struct stat status = {};
    lstat(path.c_str(), &status);
    if (S_ISREG(status.st_mode)) {
        return {status.st_mode, ReadFile(path),
                status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec};
    }
    return {status.st_mode, S_ISLNK(status.st_mode) ? fs::read_symlink(path).string() : "", 0};
}

// Everything below /usr/local but the state of the runs and what was there before the first one.
Tree TreeNow(bool withTimes) {
    Tree tree;
    for (fs::recursive_directory_iterator entry("/usr/local"), end; entry != end; ++entry) {
        const std::string path = entry->path();
        if (entry->path().filename() == ".znpolicy") {
            entry.disable_recursion_pending();
            continue;
        }
        Fact fact = FactOf(path);
        std::get<2>(fact) = withTimes ? std::get<2>(fact) : 0;
        tree[path] = fact;
    }
    return tree;
}

Tree WithoutTimes(Tree tree) {
    for (auto& [path, fact] : tree) {
        std::get<2>(fact) = 0;
    }
    return tree;
}

std::map<std::string, std::string> Package(const std::string& version) {
    return {{"FileList.ini",
             "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\np=" + kPlugins +
                 "\ns=" + kSettings + "\n[p]\nf=new" + version + ".so,replaced" + version +
                 ".so\n[s]\nf=same" + version + ".conf\n"},
            {"Common/new" + version + ".so", "new file of " + version},
            {"Common/replaced" + version + ".so", std::string(20000, 'n')},
            {"Common/same" + version + ".conf", kSameContents}};
}

// The parameter: whether the destinations are on another file system. The update description comes
// from a policy then, which the library stores, and else from a file.
class InstallTransaction : public testing::TestWithParam<bool> {
   protected:
    InstallTransaction() {
        EmptyPrivateMounts();
        for (const std::string version : {"1", "2"}) {
            const std::string name = "P_" + version + "_Server.zip";
            MakeZip(files_ / name, Package(version));
            description_ += (description_.empty() ? "" : ",") +
                            ("{\"platform\":\"Model-A\",\"packageName\":\"" + name +
                             "\",\"sha256Hash\":\"" + Sha256Of(files_ / name) + "\"}");
        }
        WriteFile(files_ / "update.json", "{\"packageInfo\":[" + description_ + "]}");
        PublishDescription();
        fs::create_directories(kPlugins);
        if (GetParam() && mount("plugins", kPlugins.c_str(), "tmpfs", 0, "mode=755") != 0) {
            throw std::runtime_error("cannot mount a tmpfs");
        }
        Reset();
        before_ = TreeNow(true);
        const ProcessResult installed = RunProgram(Install());
        if (!installed.Succeeded()) {
            throw std::runtime_error("the installation fails by itself: " + installed.err);
        }
        after_ = TreeNow(false);
        Reset();
    }

    // Publishes the update description for terminal 7.
    void PublishDescription() const {
        const std::string encoded = Output({ZNPOLICY, "update", "encode", files_ / "update.json"});
        WriteFile(files_ / "policy.xml",
                  "<Policy><PolicyName>p</PolicyName><VirtualChannelEnable>1</VirtualChannelEnable>"
                  "<VirtualChannelPluginDetails>" +
                      encoded + "</VirtualChannelPluginDetails></Policy>");
        Output({ZNPOLICY, "--store", files_ / "store", "policy", "publish", "7",
                files_ / "policy.xml"});
    }

    static std::string Output(const std::vector<std::string>& command) {
        const ProcessResult result = RunProgram(command);
        if (!result.Succeeded()) {
            throw std::runtime_error(command.at(1) + " fails: " + result.err);
        }
        return result.out;
    }

    // Puts everything back to how it was before the first installation.
    void Reset() const {
        fs::remove_all(kRoot);
        for (const std::string& directory : {kPlugins, kSettings}) {
            fs::create_directories(directory);
            for (const auto& entry : fs::directory_iterator(directory)) {
                fs::remove_all(entry.path());
            }
        }
        WriteFile(kProcess + "/platforminfo.ini", "[os]\nplatform=Model-A\n");
        for (const std::string version : {"1", "2"}) {
            const std::string name = "P_" + version + "_Server.zip";
            WriteFile(kRoot + "/Package/Server/" + name, ReadFile(files_ / name));
            WriteFile(kPlugins + "replaced" + version + ".so", "old contents");
            WriteFile(kPlugins + "replaced" + version + ".so.bak", "older contents");
            WriteFile(kSettings + "same" + version + ".conf", kSameContents);
            WriteFile(kSettings + "same" + version + ".conf.bak", "an old backup");
            fs::permissions(kPlugins + "replaced" + version + ".so", fs::perms::owner_all);
        }
        // One package has been unpacked before.
        WriteFile(kRoot + "/Package/Server/P_2_Server/Common/new2.so", "older version");
        WriteFile(kRoot + "/Package/Server/P_2_Server/notes.txt", "not from the package");
        SetTimes();
    }

    // A reset tree differs from another in its times only because of this.
    static void SetTimes() {
        for (const auto& entry : fs::recursive_directory_iterator("/usr/local")) {
            if (entry.is_regular_file()) {
                const timespec times[] = {{1000000000, 0}, {1000000000, 123456789}};
                utimensat(AT_FDCWD, entry.path().c_str(), times, 0);
            }
        }
    }

    std::vector<std::string> Install() const {
        return {ZNPOLICY,
                "--process-dir",
                kProcess,
                "--store",
                files_ / "store",
                "package",
                "install",
                "--side",
                "server",
                "--root",
                kRoot,
                GetParam() ? "--terminal" : "--update",
                GetParam() ? "7" : files_ / "update.json"};
    }

    static std::vector<std::string> Recover() {
        return {ZNPOLICY, "package", "recover", "--root", kRoot};
    }

    static std::vector<std::string> RollBack() {
        return {ZNPOLICY, "package", "rollback", "--root", kRoot};
    }

    static std::string Difference(const Tree& expected, const Tree& now) {
        std::string difference;
        for (const auto& [path, fact] : now) {
            const auto found = expected.find(path);
            if (found == expected.end() || found->second != fact) {
                difference += " " + path;
            }
        }
        for (const auto& [path, fact] : expected) {
            difference += now.count(path) == 0 ? " (gone) " + path : "";
        }
        return difference;
    }

    // Options with a directory of the test for temporary files: a killed run leaves one there.
    ProcessOptions Temporary() const {
        const std::string directory = files_ / "temporary";
        fs::remove_all(directory);
        fs::create_directory(directory);
        ProcessOptions options;
        options.environment["TMPDIR"] = directory;
        return options;
    }

    // "before" or "after" an installation, or what differs.
    std::string State() const {
        if (TreeNow(true) == before_) {
            return "before";
        }
        const Tree now = TreeNow(false);
        if (now == after_) {
            return "after";
        }
        std::string difference = "neither before nor after; different from before:";
        difference += Difference(WithoutTimes(before_), now) + "\ndifferent from after:";
        difference += Difference(after_, now);
        return difference;
    }

    // The calls that are tried, out of this many: every Every()-th, and the last ones.
    static std::vector<uint64_t> Tried(uint64_t calls) {
        std::vector<uint64_t> tried;
        for (uint64_t at = 1; at <= calls; ++at) {
            if (at % Every() == 1 || Every() == 1 || at + 5 > calls) {
                tried.push_back(at);
            }
        }
        return tried;
    }

    // Kills `command` at its calls, recovers, and passes each state to `check`.
    void KillAtEveryCall(const std::vector<std::string>& command,
                         const std::function<void()>& prepare,
                         const std::function<void(const std::string& state)>& check) const {
        prepare();
        const uint64_t calls = RunTraced(command, Temporary(), {}).calls;
        bool isKilled = true;
        for (uint64_t at = 1; isKilled; at += at + 100 < calls ? Every() : EveryAtTheEnd()) {
            prepare();
            const TracedResult traced =
                RunTraced(command, Temporary(), {SyscallFault::Kind::kKillAll, at, 0});
            isKilled = traced.happened;
            const ProcessResult recovered = RunProgram(Recover());
            ASSERT_TRUE(recovered.Succeeded()) << "call " << at << '\n' << recovered;
            check(State());
            if (testing::Test::HasFailure()) {
                FAIL() << "killed at call " << at << " of " << calls << " (system call "
                       << traced.call << ")\n"
                       << recovered;
            }
        }
    }

    // Kills an installation as late as possible with its journal in force: at the call `at`, or up
    // to some calls before, which `at` then says.
    void InterruptLate(uint64_t& at) const {
        for (;;) {
            Reset();
            RunTraced(Install(), Temporary(), {SyscallFault::Kind::kKillAll, at, 0});
            if (fs::exists(kRoot + "/.znpolicy/journal/record")) {
                return;
            }
            ASSERT_GT(at, 20U);
            at -= 20;
        }
    }

    // Leaves no free space where the plugins are. Returns the file that takes it.
    static std::string FillPlugins() {
        EXPECT_EQ(mount("plugins", kPlugins.c_str(), "tmpfs", MS_REMOUNT, "size=400k"), 0);
        std::string path = kPlugins + "filler";
        std::ofstream filler(path);
        while (filler << std::string(4096, 'f') << std::flush) {
        }
        return path;
    }

    // Makes the calls of `command` fail and checks that its exit status tells the state.
    void FailAtEveryCall(const std::vector<std::string>& command,
                         const std::function<void()>& prepare, const std::string& stateOfSuccess,
                         const std::string& stateOfFailure) const {
        prepare();
        const uint64_t calls = RunTraced(command, Temporary(), {}).calls;
        uint64_t failures = 0;
        for (const int error : {EIO, ENOSPC}) {
            for (const uint64_t at : Tried(calls)) {
                prepare();
                const TracedResult traced =
                    RunTraced(command, Temporary(), {SyscallFault::Kind::kFail, at, error});
                const bool succeeded = traced.program.Succeeded();
                failures += succeeded ? 0 : 1;
                ASSERT_EQ(State(), succeeded ? stateOfSuccess : stateOfFailure)
                    << "error " << error << " at call " << at << " of " << calls << " (system call "
                    << traced.call << ")\n"
                    << traced.program;
            }
        }
        EXPECT_GT(failures, 0U);
    }

    TemporaryDirectory files_;
    std::string description_;
    Tree before_;
    Tree after_;
};

INSTANTIATE_TEST_SUITE_P(Destinations, InstallTransaction, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& tested) {
                             return tested.param ? "OnAnotherFileSystem" : "OnTheSameFileSystem";
                         });

}  // namespace

TEST_P(InstallTransaction, KilledInstallationIsRecoveredOrComplete) {
    std::map<std::string, int> states;
    KillAtEveryCall(
        Install(), [&] { Reset(); },
        [&](const std::string& state) {
            ++states[state];
            EXPECT_TRUE(state == "before" || state == "after") << state;
        });
    EXPECT_GT(states["before"], 0) << testing::PrintToString(states);
    EXPECT_GT(states["after"], 0) << testing::PrintToString(states);
}

TEST_P(InstallTransaction, FailedInstallationChangesNothing) {
    FailAtEveryCall(
        Install(), [&] { Reset(); }, "after", "before");
}

TEST_P(InstallTransaction, InterruptedInstallationChangesNothing) {
    Reset();
    const uint64_t calls = RunTraced(Install(), Temporary(), {}).calls;
    std::map<int, int> statuses;
    for (const uint64_t at : Tried(calls)) {
        Reset();
        const TracedResult traced =
            RunTraced(Install(), Temporary(), {SyscallFault::Kind::kSignal, at, SIGTERM});
        const int status = traced.program.exitCode;
        ++statuses[status];
        EXPECT_TRUE(status == 0 || status == 143 || traced.program.signal == SIGTERM)
            << traced.program;
        EXPECT_EQ(State(), status == 0 ? "after" : "before") << "call " << at << traced.program;
        EXPECT_TRUE(fs::is_empty(files_ / "temporary")) << "call " << at;
    }
    EXPECT_GT(statuses[143], 0);
}

TEST_P(InstallTransaction, InterruptedInstallationReportsWhatItRecovered) {
    Reset();
    uint64_t last = RunTraced(Install(), Temporary(), {}).calls;
    InterruptLate(last);
    const uint64_t calls = RunTraced(Install(), Temporary(), {}).calls;
    InterruptLate(last);
    const TracedResult traced =
        RunTraced(Install(), Temporary(), {SyscallFault::Kind::kSignal, calls / 2, SIGTERM});
    const ProcessResult& program = traced.program;
    EXPECT_EQ(program.exitCode, 143) << program;
    EXPECT_NE(program.out.find("restored after an interrupted run: " + kPlugins + "new1.so"),
              std::string::npos)
        << program;
    EXPECT_NE(program.err.find("only the interrupted run was rolled back"), std::string::npos)
        << program;
    EXPECT_EQ(State(), "before");
}

TEST_P(InstallTransaction, KilledRollbackIsUndoneOrComplete) {
    std::map<std::string, int> states;
    KillAtEveryCall(
        RollBack(),
        [&] {
            Reset();
            ASSERT_TRUE(RunProgram(Install()).Succeeded());
        },
        [&](const std::string& state) {
            ++states[state];
            EXPECT_TRUE(state == "before" || state == "after") << state;
        });
    EXPECT_GT(states["before"], 0);
    EXPECT_GT(states["after"], 0);
}

TEST_P(InstallTransaction, FailedRollbackChangesNothing) {
    FailAtEveryCall(
        RollBack(),
        [&] {
            Reset();
            ASSERT_TRUE(RunProgram(Install()).Succeeded());
        },
        "before", "after");
}

TEST_P(InstallTransaction, KilledRecoveryIsCompletedByTheNext) {
    uint64_t at = RunTraced(Install(), Temporary(), {}).calls;
    KillAtEveryCall(
        Recover(), [&] { InterruptLate(at); },
        [](const std::string& state) { EXPECT_EQ(state, "before"); });
}

// Where the kept files are copies, the old file beside the new one would need space.
TEST_P(InstallTransaction, RecoveryNeedsNoSpaceAtTheDestinations) {
    if (!GetParam()) {
        GTEST_SKIP() << "links need no space";
    }
    uint64_t at = RunTraced(Install(), Temporary(), {}).calls;
    InterruptLate(at);
    const std::string filler = FillPlugins();
    const ProcessResult recovered = RunProgram(Recover());
    EXPECT_TRUE(recovered.Succeeded()) << recovered;
    fs::remove(filler);
    EXPECT_EQ(State(), "before");
}

TEST_P(InstallTransaction, FailedRecoveryIsCompletedByTheNext) {
    uint64_t last = RunTraced(Install(), Temporary(), {}).calls;
    InterruptLate(last);
    const uint64_t calls = RunTraced(Recover(), Temporary(), {}).calls;
    uint64_t failures = 0;
    for (const int error : {EIO, ENOSPC}) {
        for (const uint64_t at : Tried(calls)) {
            InterruptLate(last);
            const TracedResult traced =
                RunTraced(Recover(), Temporary(), {SyscallFault::Kind::kFail, at, error});
            failures += traced.program.Succeeded() ? 0 : 1;
            if (!traced.program.Succeeded()) {
                Output(Recover());
            }
            ASSERT_EQ(State(), "before") << "error " << error << " at call " << at << " of "
                                         << calls << " (system call " << traced.call << ")\n"
                                         << traced.program;
        }
    }
    EXPECT_GT(failures, 0U);
}

TEST_P(InstallTransaction, InstallationThatChangesNothingKeepsBackupsAndHistory) {
    ASSERT_TRUE(RunProgram(Install()).Succeeded());
    const Tree installed = TreeNow(true);
    const ProcessResult second = RunProgram(Install());
    EXPECT_TRUE(second.Succeeded()) << second;
    for (const auto& [path, fact] : installed) {
        if (path.rfind(kPlugins, 0) == 0 || path.rfind(kSettings, 0) == 0) {
            EXPECT_EQ(FactOf(path), fact) << path;
        }
    }
    EXPECT_TRUE(RunProgram(RollBack()).Succeeded());
    EXPECT_EQ(State(), "before");
}

// On one file system, the backup and the kept version are links to one file.
TEST_P(InstallTransaction, RollbackRefusesVersionsThatWereChangedThroughABackup) {
    ASSERT_TRUE(RunProgram(Install()).Succeeded());
    fs::permissions(kPlugins + "replaced1.so.bak", fs::perms::owner_read);
    const Tree installed = TreeNow(true);
    const ProcessResult refused = RunProgram(RollBack());
    EXPECT_EQ(refused.exitCode, 1) << refused;
    EXPECT_EQ(refused.err.find("the kept version of " + kPlugins + "replaced1.so was changed") ==
                  std::string::npos,
              GetParam())
        << refused;
    EXPECT_EQ(TreeNow(true), installed);
}

TEST_P(InstallTransaction, FullDiskAtAnySizeChangesNothingOrInstalls) {
    int successes = 0;
    int failures = 0;
    for (int kibibytes = 4; successes < 3; kibibytes += 4) {  // a page more each time
        ASSERT_LT(kibibytes, 4096);
        const std::string options = "mode=755,size=" + std::to_string(kibibytes) + "k";
        ASSERT_EQ(mount("small", kProcess.c_str(), "tmpfs", 0, options.c_str()), 0);
        fs::create_directories(kPlugins);
        if (GetParam()) {
            ASSERT_EQ(mount("plugins", kPlugins.c_str(), "tmpfs", 0, options.c_str()), 0);
        }
        try {
            Reset();
        } catch (const std::exception&) {  // not even room for the packages
            umount2(kProcess.c_str(), MNT_DETACH);
            continue;
        }
        const ProcessResult installed = RunProgram(Install());
        ++(installed.Succeeded() ? successes : failures);
        EXPECT_EQ(State(), installed.Succeeded() ? "after" : "before") << kibibytes << installed;
        umount2(kProcess.c_str(), MNT_DETACH);
    }
    EXPECT_GT(failures, 0);
}
