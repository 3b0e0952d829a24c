// What a kill, a full disk or an I/O error at any moment leaves of an installation and of a policy
// that is being published.
//
// Each test counts the system calls with which the work reads, writes, makes and removes files,
// then does the work once for every one of them, with the fault at that call: killed just before
// it, or the call failing. Kills between two calls change nothing more, so these are all moments.
//
// After a kill, what may be left besides old and new files are temporary files, told by their
// names: ".zn-" and 16 hexadecimal digits beside an installed file, the policy file's name with
// "." and six characters behind it in the policy store. Nothing ever reads them. After a mere error
// none may be left.
//
// An installation starts here from a tree in which no destination is missing. One that does find a
// destination missing and only its backup there, as a failure before it may have left them, deletes
// the backup first, as it always does: what ends it between that and the copy takes the last of the
// old file. A package that could not be installed is therefore best rolled back before the next
// attempt.
//
// Not built with sanitizers: their leak detection and the tracer exclude each other, and the same
// code runs under them in the other tests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <thread>

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

    // Makes everything as it is before the work.
    virtual void Prepare() = 0;

    // The work: a command of the subject.
    virtual std::vector<std::string> Command() const = 0;

    // Looks at what the work has left. After an error `mayLeave` is false: no temporary files.
    virtual void ExpectWhole(bool mayLeaveTemporaries) = 0;

    // Looks at what must be there when the work has succeeded.
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

            // Without a fault it is completed, whatever was left.
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
        WriteFile(package_ / "FileList.ini",
                  "[Package_Intall_Type]\nPackageIntallType=arm64\n[arm64]\nbin=" +
                      Path("plugins/") + "\nlib=" + Path("lib/") +
                      "\n[bin]\n1=new,replaced\n2=backed,same\n[lib]\nfiles=only\n");
        for (const File& file : files_) {
            WriteFile(package_ / ("Common/" + fs::path(file.path).filename().string()), file.after);
        }
        // A file changed within the last tick of the clock is read more often, to be sure of it:
        // every run is to make the same calls.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
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
        ExpectNoStrangers(mayLeaveTemporaries);
    }

    // Old or new; or absent, and then the old file is whole in its backup.
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

    // Old, gone, or whole paths of the same path key one behind the other.
    static void ExpectMarkOfWholePaths() {
        const std::string mark = Contents(Mark()).value_or("");
        static const std::regex whole("/of/an/earlier/install|(" + Path("plugins/") +
                                      "(new|replaced|backed|same))*|(" + Path("lib/only") + ")?");
        EXPECT_TRUE(std::regex_match(mark, whole)) << mark;
    }

    static void ExpectNoStrangers(bool mayLeaveTemporaries) {
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

TEST_P(InstallCrashSafety, EveryFileIsOldOrNewOrWholeInItsBackup) {
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
        ExpectNoStrangers(mayLeaveTemporaries);
    }

    void ExpectComplete() override {
        EXPECT_EQ(Published(), "new");
    }

    // Whose policy the store holds, whole; nothing when it holds none.
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

    void ExpectNoStrangers(bool mayLeaveTemporaries) const {
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

TEST_P(PublishCrashSafety, TheStoreHoldsTheOldPolicyOrTheNewOne) {
    FaultAtEveryCall();
}

INSTANTIATE_TEST_SUITE_P(At, PublishCrashSafety, kFaults, FaultName);

// The first policy of a machine: the store itself is still to be made.
class FirstPublishCrashSafety : public PublishCrashSafety {
   protected:
    void Prepare() override {
        fs::remove_all(fs::path(store_).parent_path());
        WriteFile(policy_, Policy("new"));
    }

    void ExpectWhole(bool mayLeaveTemporaries) override {
        const auto now = Published();
        EXPECT_TRUE(!now || now == "new") << *now;
        ExpectNoStrangers(mayLeaveTemporaries);
    }
};

TEST_P(FirstPublishCrashSafety, TheStoreHoldsThePolicyOrNone) {
    FaultAtEveryCall();
}

INSTANTIATE_TEST_SUITE_P(At, FirstPublishCrashSafety, kFaults, FaultName);
