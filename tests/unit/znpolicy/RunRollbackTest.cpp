#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "RunDirectory.h"
#include "RunRollback.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;

using Paths = std::vector<std::string>;

// A root directory with one run, which replaced a file and installed another.
class RunRollbackTest : public testing::Test {
   protected:
    RunRollbackTest() {
        WriteFile(replaced_, "old");
        WriteFile(directory_ / "old", "old");
        WriteFile(directory_ / "new", "new");
        const RunDirectory runs(Root(), 0);
        const Json description = {
            {"when", ""},
            {"side", "server"},
            {"packages", Json::array()},
            {"files", {File(replaced_, DigestOf("old")), File(installed_, "")}}};
        Journal journal = Journal::Create(
            runs.JournalPath(), {replaced_, replaced_ + ".bak", installed_}, {}, description);
        fs::rename(replaced_, replaced_ + ".bak");
        WriteFile(replaced_, "new");
        WriteFile(installed_, "new");
        journal.KeepChanges();
        runs.AddToHistory(journal, 3);
    }

    Json File(const std::string& destination, const std::string& before) const {
        return {{"destination", destination},
                {"result", before.empty() ? "installed" : "replaced"},
                {"before", before},
                {"sha256", DigestOf("new")}};
    }

    std::string DigestOf(const std::string& name) const {
        return ZnSha256::FileSha256Value(directory_ / name);
    }

    std::string Root() const {
        return directory_.Path();
    }

    void RollBack(bool force, const std::function<void(const Paths&)>& print) const {
        RollBackRun(Root(), std::nullopt, force, 0, print);
    }

    static void Ignore(const Paths& /*restored*/) {}

    const TemporaryDirectory directory_;
    const std::string replaced_ = directory_ / "to/replaced";
    const std::string installed_ = directory_ / "to/installed";
};

}  // namespace

TEST_F(RunRollbackTest, RestoresWhatTheRunChanged) {
    const ProcessResult result = RunInChild(
        [&] { RollBack(false, [](const Paths& paths) { printf("%zu", paths.size()); }); });
    EXPECT_EQ(result.out, "3") << result;
    EXPECT_EQ(ReadFile(replaced_), "old");
    EXPECT_FALSE(fs::exists(replaced_ + ".bak"));
    EXPECT_FALSE(fs::exists(installed_));
    EXPECT_TRUE(RunHistory(Root(), 0).empty());
}

TEST_F(RunRollbackTest, SignalWhileTheResultIsPrintedComesTooLate) {
    const ProcessResult result =
        RunInChild([&] { RollBack(false, [](const Paths&) { raise(SIGTERM); }); });
    EXPECT_TRUE(result.Succeeded()) << result;
    EXPECT_EQ(ReadFile(replaced_), "old");
}

TEST_F(RunRollbackTest, ResultThatCannotBePrintedUndoesIt) {
    EXPECT_THAT(
        [&] { RollBack(false, [](const Paths&) { throw std::runtime_error("no output"); }); },
        ThrowsMessage<std::runtime_error>("no output"));
    EXPECT_EQ(ReadFile(replaced_), "new");
    EXPECT_EQ(ReadFile(replaced_ + ".bak"), "old");
    EXPECT_EQ(RunHistory(Root(), 0).size(), 1U);
}

TEST_F(RunRollbackTest, FailureToUndoKeepsTheFirstReason) {
    const auto fail = [&](const Paths&) {
        fs::remove_all(directory_ / "to");
        throw std::runtime_error("no output");
    };
    EXPECT_THAT([&] { RollBack(false, fail); },
                ThrowsMessage<std::runtime_error>(
                    AllOf(HasSubstr("no output; rolling back failed, too: "),
                          HasSubstr("znpolicy package recover --root " + Root()))));
    fs::create_directory(directory_ / "to");
    EXPECT_FALSE(RecoverRun(Root(), 0).empty());
    EXPECT_EQ(ReadFile(replaced_), "new");
}

TEST_F(RunRollbackTest, NoticesFilesWhoseContentsAloneChanged) {
    const auto time = fs::last_write_time(installed_);
    WriteFile(installed_, "NEW");
    fs::last_write_time(installed_, time);
    EXPECT_THAT([&] { RollBack(false, Ignore); },
                ThrowsMessage<std::runtime_error>(
                    AllOf(HasSubstr("nothing was changed"),
                          HasSubstr(installed_ + " was changed after the run"))));
}

TEST_F(RunRollbackTest, ReportsADirectoryInPlaceOfAFileAlsoWithForce) {
    fs::remove(installed_);
    WriteFile(installed_ + "/file", "somebody's");
    for (const bool force : {false, true}) {
        EXPECT_THAT(
            [&] { RollBack(force, Ignore); },
            ThrowsMessage<std::runtime_error>(AllOf(
                HasSubstr("nothing was changed"), HasSubstr(installed_ + " is now a directory"))));
        EXPECT_EQ(ReadFile(replaced_), "new");
    }
}
