#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "CommandLineTest.h"
#include "Completion.h"
#include "ItemReference.h"
#include "PolicyStore.h"
#include "TemporaryDirectory.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using Words = std::vector<std::string>;

class Completions : public CommandLineTest {
   protected:
    std::vector<std::string> Candidates(const Words& words) {
        const Completion completion = Complete(app_, words);
        std::vector<std::string> texts;
        texts.reserve(completion.candidates.size());
        for (const Completion::Candidate& candidate : completion.candidates) {
            texts.push_back(candidate.text);
        }
        return texts;
    }

    Completion::Paths Paths(const Words& words) {
        return Complete(app_, words).paths;
    }

    const TemporaryDirectory directory_;
};

TEST_F(Completions, CompletesCommands) {
    EXPECT_THAT(Candidates({""}), Contains("policy"));
    EXPECT_THAT(Candidates({""}), Not(Contains("complete")));
    EXPECT_THAT(Candidates({"poli"}), ElementsAre("policy"));
    EXPECT_THAT(Candidates({"policy", "li"}), ElementsAre("list"));
    EXPECT_THAT(Candidates({"--store", "policy", "poli"}), ElementsAre("policy"));
    EXPECT_THAT(Candidates({}), Contains("policy"));
}

TEST_F(Completions, CompletesOptionsOfCommandAndProgram) {
    EXPECT_THAT(Candidates({"package", "install", "--si"}), ElementsAre("--side"));
    EXPECT_THAT(Candidates({"package", "install", "--u"}), ElementsAre("--update"));
    EXPECT_THAT(Candidates({"policy", "list", "--sto"}), ElementsAre("--store"));
    EXPECT_THAT(Candidates({"policy", "list", "--he"}), ElementsAre("--help"));
}

TEST_F(Completions, CompletesOptionValues) {
    EXPECT_THAT(Candidates({"--color", ""}), ElementsAre("auto", "always", "never"));
    EXPECT_THAT(Candidates({"--color=al"}), ElementsAre("--color=always"));
    EXPECT_THAT(Candidates({"--color", "=", "al"}), ElementsAre("always"));
    EXPECT_THAT(Candidates({"--color", "="}), ElementsAre("auto", "always", "never"));
    EXPECT_THAT(Candidates({"package", "plan", "--side", "c"}), ElementsAre("client"));
    EXPECT_THAT(Candidates({"completion", "z"}), ElementsAre("zsh"));
}

TEST_F(Completions, LeavesPathsToTheShell) {
    EXPECT_EQ(Paths({"policy", "publish", "5", ""}), Completion::Paths::kFiles);
    EXPECT_EQ(Paths({"policy", "publish", "-5", ""}), Completion::Paths::kFiles);
    EXPECT_EQ(Paths({"package", "unzip", "a.zip", ""}), Completion::Paths::kFiles);
    EXPECT_EQ(Paths({"--store", ""}), Completion::Paths::kDirectories);
    EXPECT_EQ(Paths({"policy", "list", "--store=x"}), Completion::Paths::kDirectories);
    EXPECT_EQ(Paths({"policy", "list", ""}), Completion::Paths::kNone);
}

TEST_F(Completions, CompletesPolicyItems) {
    EXPECT_THAT(Candidates({"policy", "items", ""}), SizeIs(KnownItems().size()));
    EXPECT_THAT(Candidates({"policy", "items", "PolicyN"}), ElementsAre("PolicyName"));
}

TEST_F(Completions, CompletesPublishedIds) {
    const std::string path = directory_ / "store";
    const PolicyStore store(path);
    for (const int id : {1001, 1002, -5}) {
        store.Publish(id, "<Policy/>", "test");
    }
    EXPECT_THAT(Candidates({"--store", path, "session", ""}), ElementsAre("-5", "1001", "1002"));
    EXPECT_THAT(Candidates({"--store=" + path, "policy", "show", "100"}),
                ElementsAre("1001", "1002"));
    EXPECT_THAT(Candidates({"--store", path, "policy", "check", "--id", "1002"}),
                ElementsAre("1002"));
}

TEST_F(Completions, CompletesNegativeIds) {
    const std::string path = directory_ / "store";
    for (const int id : {-56, -5, 5}) {
        PolicyStore(path).Publish(id, "<Policy/>", "test");
    }
    EXPECT_THAT(Candidates({"--store", path, "policy", "show", "-"}),
                IsSupersetOf({"-56", "-5", "--json"}));
    EXPECT_THAT(Candidates({"--store", path, "policy", "show", "-5"}), ElementsAre("-56", "-5"));
    EXPECT_THAT(Candidates({"--store", path, "session", "-5"}), ElementsAre("-56", "-5"));
    EXPECT_THAT(Candidates({"--store", path, "policy", "list", "-5"}), IsEmpty());
}

TEST_F(Completions, CompletesItemAfterIds) {
    EXPECT_THAT(Candidates({"policy", "show", "1001", "AutoConnectI"}),
                ElementsAre("AutoConnectInterval"));
    EXPECT_THAT(Candidates({"policy", "show", "1001", "-5", "AutoConnectI"}),
                ElementsAre("AutoConnectInterval"));
    EXPECT_THAT(Candidates({"policy", "show", "AutoConnectI"}), IsEmpty());
    EXPECT_THAT(Candidates({"policy", "remove", "1001", "AutoConnectI"}), IsEmpty());
}

// Shells pass words as they were typed.
TEST_F(Completions, ReadsStorePathAsShellsDo) {
    PolicyStore(directory_ / "store").Publish(1001, "<Policy/>", "test");
    setenv("HOME", directory_.Path().c_str(), 1);
    for (const std::string& path : {std::string("~/store"), "\"" + directory_ / "store" + "\"",
                                    "'" + directory_ / "store'"}) {
        EXPECT_THAT(Candidates({"--store", path, "session", ""}), ElementsAre("1001")) << path;
        EXPECT_THAT(Candidates({"--store=" + path, "session", ""}), ElementsAre("1001")) << path;
    }
    unsetenv("HOME");
    EXPECT_THAT(Candidates({"--store", "~/store", "session", ""}), IsEmpty());
}

TEST_F(Completions, UnreadableStoreGivesNoIds) {
    std::ofstream(directory_ / "file") << "no directory";
    EXPECT_THAT(Candidates({"--store", directory_ / "file", "session", "--js"}),
                ElementsAre("--json"));
    EXPECT_THAT(Candidates({"--store", directory_ / "file", "session", ""}), IsEmpty());
}

TEST_F(Completions, UnknownWordsGiveNothing) {
    EXPECT_THAT(Candidates({"policy", "list", "extra", ""}), IsEmpty());
    EXPECT_THAT(Candidates({"policy", "list", "--bogus=x"}), IsEmpty());
}

TEST_F(Completions, ScriptsCallTheProgram) {
    for (const char* const shell : {"bash", "zsh", "fish"}) {
        EXPECT_NE(CompletionScript(shell).find(" complete -- "), std::string::npos) << shell;
    }
}

}  // namespace
