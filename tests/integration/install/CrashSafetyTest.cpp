// The effects of a kill, a full disk or an I/O error, at any moment, on an installation and on the
// publication of a policy.
//
// Each test lists the system calls by which the work reads, writes, creates and removes files. It
// then repeats the work with a fault at each of them: a kill just before the call, or a failure of
// the call. Between two calls nothing changes on disk, so this covers every moment.
//
// A kill may leave temporary files, named ".zn-" and 16 hexadecimal digits. An error leaves none.
//
// The installation starts from a tree in which no destination is missing. When a destination is
// missing and only its backup exists, an installation deletes the backup before it copies, as
// always, so a fault between the two loses the old file. A package that could not be installed
// should be rolled back before the next attempt.
//
// Not built with sanitizers: their leak detection and strace exclude each other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <regex>

#include "PolicyStore.h"
#include "PrivateMounts.h"
#include "Strace.h"
#include "TemporaryDirectory.h"

namespace fs = std::filesystem;

static const std::string kSubject = CRASH_SAFETY_SUBJECT;

namespace {

// The contents of a file, or nothing when there is none.
std::optional<std::string> Contents(const std::string& path) {
    if (!fs::exists(path)) {
        return std::nullopt;
    }
    return ReadFile(path);
}

// Larger than a single write of the copy.
std::string Text(const std::string& word) {
    std::string text;
    while (text.size() < 100'000) {
        text += word + "\n";
    }
    return text;
}

}  // namespace

// Runs the work of a derived fixture with one kind of fault at each of its calls.
class CrashSafety : public testing::TestWithParam<const char*> {
   protected:
    CrashSafety() {
        EmptyPrivateMounts();
    }

    // Sets up the state before the work.
    virtual void Prepare() = 0;

    // The work: a command of the subject.
    virtual std::vector<std::string> Command() const = 0;

    // Checks that no file is damaged, and that no temporary file is left unless allowed.
    virtual void ExpectWhole(bool mayLeaveTemporaries) = 0;

    // Checks the result of successful work.
    virtual void ExpectComplete() = 0;

    void FaultAtEveryCall() {
        const std::string fault = GetParam();
        Prepare();
        const std::vector<CallSite> sites = CallSitesOf(Command());
        ExpectWhole(false);
        ExpectComplete();
        int failed = 0;
        for (const CallSite& site : sites) {
            SCOPED_TRACE(fault + " at " + site.call + " " + std::to_string(site.number));
            Prepare();
            const Ending ending = RunWithFault(Command(), site, fault);
            if (ending.killed) {
                EXPECT_EQ(fault, "signal=KILL");
                EXPECT_EQ(ending.status, SIGKILL);
            } else {
                EXPECT_NE(fault, "signal=KILL");
                EXPECT_TRUE(ending.status == 0 || ending.status == 1) << ending.status;
            }
            ExpectWhole(ending.killed);
            if (!ending.killed && ending.status == 0) {
                ExpectComplete();
            } else {
                ++failed;
            }

            // Without a fault, the next run succeeds.
            const Ending again = RunQuietly(Command());
            EXPECT_FALSE(again.killed);
            EXPECT_EQ(again.status, 0);
            ExpectComplete();
            if (HasFailure()) {
                return;
            }
        }
        std::cout << sites.size() << " calls, " << failed << " faults ended the work\n";
        EXPECT_GT(failed, 0);
        for (const char* const call : {"open", "write", "fsync", "rename", "close"}) {
            EXPECT_TRUE(
                std::any_of(sites.begin(), sites.end(),
                            [&](const CallSite& site) { return site.call.rfind(call, 0) == 0; }))
                << "the work makes no call of " << call;
        }
    }
};

static std::string FaultName(const testing::TestParamInfo<const char*>& info) {
    static const std::map<std::string, std::string> names = {
        {"signal=KILL", "Kill"}, {"error=ENOSPC", "FullDisk"}, {"error=EIO", "InputOutputError"}};
    return names.at(info.param);
}

static const auto kFaults = testing::Values("signal=KILL", "error=ENOSPC", "error=EIO");

// --- Installation ---

// Two destination directories; in the first a file of every kind.
class InstallCrashSafety : public CrashSafety {
   protected:
    static constexpr char kRoot[] = "/usr/local/vornserver/";

    struct File {
        std::string path;  // below kRoot
        std::optional<std::string> before;
        std::optional<std::string> backupBefore;
        std::string after;
    };

    InstallCrashSafety() {
        // The INI reader reads a file that changed a moment ago once more. This one is older than
        // the test program, so that every run makes the same calls.
        fs::create_symlink(CRASH_SAFETY_FILE_LIST, package_ / "FileList.ini");
        for (const File& file : files_) {
            WriteFile(package_ / ("Common/" + fs::path(file.path).filename().string()), file.after);
        }
    }

    void Prepare() override {
        fs::remove_all(kRoot);
        fs::create_directories(fs::path(Mark()).parent_path());
        for (const File& file : files_) {
            if (file.before) {
                WriteFile(Path(file.path), *file.before);
            }
            if (file.backupBefore) {
                WriteFile(Path(file.path) + ".bak", *file.backupBefore);
            }
        }
        WriteFile(Mark(), "/of/an/earlier/install");
    }

    std::vector<std::string> Command() const override {
        return {kSubject, "install", package_.Path(), "arm64"};
    }

    void ExpectWhole(bool mayLeaveTemporaries) override {
        for (const File& file : files_) {
            ExpectWhole(file);
        }
        ExpectMarkOfWholePaths();
        ExpectNoOtherFiles(mayLeaveTemporaries);
    }

    // The file is old, new, or absent with an intact backup.
    static void ExpectWhole(const File& file) {
        SCOPED_TRACE(file.path);
        const auto now = Contents(Path(file.path));
        const auto backup = Contents(Path(file.path) + ".bak");
        EXPECT_TRUE(now == file.before || now == file.after || !now) << "a part of a file";
        EXPECT_TRUE(!backup || backup == file.before || backup == file.backupBefore)
            << "a part of a backup";
        if (!now && file.before) {
            EXPECT_EQ(backup, file.before) << "neither the file nor its backup";
        }
    }

    // The mark file is old, absent, or holds whole paths of one path key.
    static void ExpectMarkOfWholePaths() {
        const std::string mark = Contents(Mark()).value_or("");
        static const std::regex whole("/of/an/earlier/install|(" + Path("plugins/") +
                                      "(new|replaced|backed|same))*|(" + Path("lib/only") + ")?");
        EXPECT_TRUE(std::regex_match(mark, whole)) << mark;
    }

    static void ExpectNoOtherFiles(bool mayLeaveTemporaries) {
        static const std::regex own("(new|replaced|backed|same|only)(\\.bak)?|vcUpdated\\.mark");
        static const std::regex temporary("\\.zn-[0-9a-f]{16}");
        for (const auto& entry : fs::recursive_directory_iterator(kRoot)) {
            const std::string name = entry.path().filename();
            EXPECT_TRUE(entry.is_directory() || std::regex_match(name, own) ||
                        (mayLeaveTemporaries && std::regex_match(name, temporary)))
                << entry.path();
        }
    }

    void ExpectComplete() override {
        for (const File& file : files_) {
            EXPECT_EQ(Contents(Path(file.path)), file.after) << file.path;
        }
    }

    static std::string Path(const std::string& name) {
        return kRoot + name;
    }

    static std::string Mark() {
        return Path("bin/microservices/vcUpdated.mark");
    }

    TemporaryDirectory package_;
    const std::vector<File> files_ = {
        {"plugins/new", std::nullopt, std::nullopt, Text("new")},
        {"plugins/replaced", Text("old replaced"), std::nullopt, Text("replaced")},
        {"plugins/backed", Text("old backed"), Text("older"), Text("backed")},
        {"plugins/same", Text("same"), Text("older same"), Text("same")},
        {"lib/only", std::nullopt, std::nullopt, Text("only")},
    };
};

TEST_P(InstallCrashSafety, LeavesOldOrNewFilesOrIntactBackups) {
    FaultAtEveryCall();
}

INSTANTIATE_TEST_SUITE_P(At, InstallCrashSafety, kFaults, FaultName);

// --- Publishing a policy ---

class PublishCrashSafety : public CrashSafety {
   protected:
    static constexpr int kId = 4711;

    void Prepare() override {
        fs::remove_all(store_);
        WriteFile(policy_, Policy("new"));
        PolicyStore(store_).Publish(kId, Policy("old"), "old.xml");
    }

    std::vector<std::string> Command() const override {
        return {kSubject, "publish", store_, std::to_string(kId), policy_};
    }

    void ExpectWhole(bool mayLeaveTemporaries) override {
        const auto now = Published();
        EXPECT_TRUE(now == "old" || now == "new") << now.value_or("no policy");
        ExpectNoOtherFiles(mayLeaveTemporaries);
    }

    void ExpectComplete() override {
        EXPECT_EQ(Published(), "new");
    }

    // Which policy the store holds: "old", "new", "a mixture", or nothing when it holds none.
    std::optional<std::string> Published() const {
        if (PolicyStore(store_).List().empty()) {
            return std::nullopt;
        }
        const std::vector<PolicyStore::Item> items = PolicyStore(store_).Read(kId);
        for (const std::string word : {"old", "new"}) {
            const auto expected = PolicyStore::ParseDocument(Policy(word), "policy.xml");
            if (std::equal(items.begin(), items.end(), expected.begin(), expected.end(),
                           [](const PolicyStore::Item& a, const PolicyStore::Item& b) {
                               return a.key == b.key && a.value == b.value;
                           })) {
                return word;
            }
        }
        return "a mixture";
    }

    void ExpectNoOtherFiles(bool mayLeaveTemporaries) const {
        const std::string own = std::to_string(kId) + ".cdb";
        static const std::regex temporary(R"(\.zn-[0-9a-f]{16})");
        if (!fs::exists(store_)) {
            return;
        }
        for (const auto& entry : fs::directory_iterator(store_)) {
            const std::string name = entry.path().filename();
            EXPECT_TRUE(name == own || (mayLeaveTemporaries && std::regex_match(name, temporary)))
                << entry.path();
        }
    }

    // Larger than a single write of the database.
    static std::string Policy(const std::string& word) {
        std::string items;
        for (int i = 0; i < 500; ++i) {
            const std::string name = "Item" + std::to_string(i);
            items.append("<" + name + ">").append(word).append("</" + name + ">");
        }
        return "<Policy><PolicyName>" + word + "</PolicyName>" + items + "</Policy>";
    }

    const std::string store_ = "/usr/local/PermanenceDataPath/PolicyStore";
    const std::string policy_ = "/usr/local/policy.xml";
};

TEST_P(PublishCrashSafety, LeavesOldOrNewPolicy) {
    FaultAtEveryCall();
}

INSTANTIATE_TEST_SUITE_P(At, PublishCrashSafety, kFaults, FaultName);

// The first policy of a machine: the store does not exist yet.
class FirstPublishCrashSafety : public PublishCrashSafety {
   protected:
    void Prepare() override {
        fs::remove_all(fs::path(store_).parent_path());
        WriteFile(policy_, Policy("new"));
    }

    void ExpectWhole(bool mayLeaveTemporaries) override {
        const auto now = Published();
        EXPECT_TRUE(!now || now == "new") << *now;
        ExpectNoOtherFiles(mayLeaveTemporaries);
    }
};

TEST_P(FirstPublishCrashSafety, LeavesNoOrNewPolicy) {
    FaultAtEveryCall();
}

INSTANTIATE_TEST_SUITE_P(At, FirstPublishCrashSafety, kFaults, FaultName);
