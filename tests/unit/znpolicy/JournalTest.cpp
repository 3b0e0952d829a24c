#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "Journal.h"
#include "TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

class JournalTest : public testing::Test {
   protected:
    JournalTest() {
        WriteFile(In("kept"), "kept");
        WriteFile(In("changed"), "old");
        fs::create_symlink("kept", In("link"));
    }

    std::string In(const std::string& name) const {
        return directory_ / ("tree/" + name);
    }

    // The paths below the tree with the contents of the files.
    std::map<std::string, std::string> Tree() const {
        std::map<std::string, std::string> tree;
        for (const auto& entry : fs::recursive_directory_iterator(directory_ / "tree")) {
            tree[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
        }
        return tree;
    }

    // What an installation might do to the paths.
    void ChangeEverything() const {
        fs::rename(In("changed"), In("changed.bak"));
        WriteFile(In("changed"), "new");
        fs::remove(In("kept"));
        fs::remove(In("link"));
        WriteFile(In("new/directory/file"), "new");
    }

    // Makes the journal as it is on another file system than the paths.
    static void ReplaceLinksByCopies(const Journal& journal) {
        for (const Journal::Entry& entry : journal.Entries()) {
            if (!entry.copy.empty()) {
                const std::string kept = journal.Directory() + "/" + entry.copy;
                const auto time = fs::last_write_time(kept);
                fs::rename(kept, kept + ".link");
                fs::copy_file(kept + ".link", kept);
                fs::remove(kept + ".link");
                fs::last_write_time(kept, time);
            }
        }
    }

    TemporaryDirectory directory_;
    std::string journal_ = directory_ / "journal";
    std::set<std::string> paths_ = {In("kept"), In("changed"), In("changed.bak"), In("link"),
                                    In("new/directory/file")};
};

}  // namespace

TEST_F(JournalTest, RestoresEveryPath) {
    const auto before = Tree();
    const Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    ChangeEverything();
    journal.RestoreAll();
    EXPECT_EQ(Tree(), before);
}

TEST_F(JournalTest, RestoresAfterItWasOpenedAgainAndMoreThanOnce) {
    const auto before = Tree();
    Journal::Create(journal_, paths_, {}, {{"reason", "test"}});
    ChangeEverything();
    for (int i = 0; i < 2; ++i) {
        const Journal journal = Journal::Open(journal_);
        EXPECT_EQ(journal.Description(), Json({{"reason", "test"}}));
        journal.RestoreAll();
        EXPECT_EQ(Tree(), before);
    }
}

TEST_F(JournalTest, KeepsPathsOfAnyBytes) {
    const std::string odd = In("\xFF\n\"odd");
    Journal::Create(journal_, {odd}, {}, nullptr);
    WriteFile(odd, "new");
    Journal::Open(journal_).RestoreAll();
    EXPECT_FALSE(fs::exists(odd));
}

TEST_F(JournalTest, RemovesANewTreeWithEverythingBelow) {
    const auto before = Tree();
    const Journal journal = Journal::Create(journal_, paths_, {In("tree")}, nullptr);
    WriteFile(In("tree/a/b"), "new");
    journal.RestoreAll();
    EXPECT_EQ(Tree(), before);
}

TEST_F(JournalTest, IsNoLongerInForceAfterAMove) {
    Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    fs::create_directory(directory_ / "history");
    journal.MoveTo(directory_ / "history/1");
    EXPECT_FALSE(Journal::Exists(journal_));
    EXPECT_EQ(Journal::Open(directory_ / "history/1").Entries().size(), journal.Entries().size());
}

TEST_F(JournalTest, KeepsChangedPathsOnlyAndAllThatIsInNewTrees) {
    const auto before = Tree();
    paths_.insert(In("added"));
    Journal journal = Journal::Create(journal_, paths_, {In("tree")}, nullptr);
    fs::remove(In("changed"));
    WriteFile(In("changed"), "a longer text");
    WriteFile(In("tree/new"), "new");
    journal.KeepChanges();
    const Journal opened = Journal::Open(journal_);
    std::vector<std::string> paths;
    for (const Journal::Entry& entry : opened.Entries()) {
        paths.push_back(entry.path);
        EXPECT_EQ(entry.after, PathState::Of(entry.path)) << entry.path;
    }
    EXPECT_EQ(paths, std::vector<std::string>({In("changed"), In("tree"), In("tree/new")}));
    opened.RestoreAll();
    EXPECT_EQ(Tree(), before);
}

TEST_F(JournalTest, KeepsFilesWhoseContentsAloneChanged) {
    const auto before = Tree();
    const auto time = fs::last_write_time(In("changed"));
    Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    fs::remove(In("changed"));
    WriteFile(In("changed"), "new");
    fs::last_write_time(In("changed"), time);
    journal.KeepChanges();
    ASSERT_NE(journal.Find(In("changed")), nullptr);
    journal.RestoreAll();
    EXPECT_EQ(Tree(), before);
}

// A copy beside the new file would need space.
TEST_F(JournalTest, RenamesBackWhatWasOnlyRenamed) {
    for (const bool hasBackup : {false, true}) {
        const TemporaryDirectory directory;
        const std::string path = directory / "file";
        WriteFile(path, "old");
        if (hasBackup) {
            WriteFile(path + ".bak", "older");
        }
        const PathState before = PathState::Of(path);
        const Journal journal =
            Journal::Create(directory / "journal", {path, path + ".bak"}, {}, nullptr);
        ReplaceLinksByCopies(journal);
        fs::rename(path, path + ".bak");
        WriteFile(path, "new");
        journal.RestoreAll();
        EXPECT_EQ(PathState::Of(path), before);
        EXPECT_TRUE(IsSameFile(PathState::Of(path), before));
        EXPECT_EQ(fs::exists(path + ".bak"), hasBackup);
        EXPECT_TRUE(!hasBackup || ReadFile(path + ".bak") == "older");
    }
}

TEST_F(JournalTest, RestoresAnOriginalThatWasChangedAfterItWasRenamed) {
    const auto before = Tree();
    const Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    ReplaceLinksByCopies(journal);
    const auto time = fs::last_write_time(In("changed"));
    fs::rename(In("changed"), In("changed.bak"));
    WriteFile(In("changed.bak"), "bad");
    fs::last_write_time(In("changed.bak"), time);
    journal.RestoreAll();
    EXPECT_EQ(Tree(), before);
}

TEST_F(JournalTest, RestoresOnePathOnly) {
    const Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    ChangeEverything();
    journal.Restore(*journal.Find(In("kept")));
    EXPECT_EQ(ReadFile(In("kept")), "kept");
    EXPECT_EQ(ReadFile(In("changed")), "new");
    EXPECT_EQ(journal.Find(In("unknown")), nullptr);
}

TEST_F(JournalTest, RestoresTheOtherPathsWhenOneCannotBe) {
    WriteFile(In("gone/file"), "old");
    paths_.insert(In("gone/file"));
    const Journal journal = Journal::Create(journal_, paths_, {}, nullptr);
    ChangeEverything();
    fs::remove_all(In("gone"));
    EXPECT_THROW(journal.RestoreAll(), std::runtime_error);
    EXPECT_EQ(ReadFile(In("changed")), "old");
}

TEST_F(JournalTest, ExistsFromItsCompletionToItsRemoval) {
    EXPECT_FALSE(Journal::Exists(journal_));
    Journal::Create(journal_, paths_, {}, nullptr);
    EXPECT_TRUE(Journal::Exists(journal_));
    DiscardJournal(journal_);
    EXPECT_FALSE(Journal::Exists(journal_));
    EXPECT_EQ(fs::directory_iterator(directory_.Path())->path(), directory_ / "tree");
}

TEST_F(JournalTest, IsNotTakenForAbsentWhenItCannotBeSeen) {
    fs::create_symlink("journal", journal_);  // a loop
    EXPECT_THROW(Journal::Exists(journal_), std::runtime_error);
}

TEST_F(JournalTest, ReplacesWhatAnInterruptedCreationLeft) {
    WriteFile(journal_ + ".incomplete/0", "rest");
    Journal::Create(journal_, paths_, {}, nullptr);
    EXPECT_FALSE(fs::exists(journal_ + ".incomplete"));
}

TEST_F(JournalTest, RefusesADamagedRecord) {
    Journal::Create(journal_, paths_, {}, nullptr);
    const std::string record = ReadFile(journal_ + "/record");
    for (size_t size = 0; size < record.size(); ++size) {
        WriteFile(journal_ + "/record", record.substr(0, size));
        EXPECT_THROW(Journal::Open(journal_), std::runtime_error) << size;
    }
}
