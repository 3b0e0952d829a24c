#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "RunDirectory.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;

class RunDirectoryTest : public testing::Test {
   protected:
    void ExpectRefused(const std::string& refused) const {
        EXPECT_THAT([&] { const RunDirectory runs(Root(), 0); },
                    ThrowsMessage<std::runtime_error>(
                        AllOf(HasSubstr(refused + " has to be"), HasSubstr("remove it"))));
    }

    std::string Root() const {
        return directory_.Path();
    }

    const TemporaryDirectory directory_;
    const std::string state_ = directory_ / ".znpolicy";
};

}  // namespace

TEST_F(RunDirectoryTest, IsReadableForItsOwnerOnly) {
    const RunDirectory runs(Root(), 0);
    EXPECT_EQ(fs::status(state_).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(runs.History().empty());
}

TEST_F(RunDirectoryTest, IsNotTakenFromOthers) {
    fs::create_directory(directory_ / "elsewhere");
    fs::create_symlink("elsewhere", state_);
    ExpectRefused(state_);
    EXPECT_TRUE(fs::is_empty(directory_ / "elsewhere"));

    fs::remove(state_);
    WriteFile(state_, "a file");
    ExpectRefused(state_);

    fs::remove(state_);
    fs::create_directory(state_);
    for (const mode_t mode : {0720U, 0702U}) {
        ASSERT_EQ(chmod(state_.c_str(), mode), 0);
        ExpectRefused(state_);
    }
    ASSERT_EQ(chmod(state_.c_str(), 0700), 0);
    fs::create_directory(state_ + "/history");
    ASSERT_EQ(chmod((state_ + "/history").c_str(), 0770), 0);
    ExpectRefused(state_ + "/history");
}

TEST_F(RunDirectoryTest, IsNotTakenFromAnotherUser) {
    constexpr uid_t kSomebody = 12345;
    fs::create_directory(state_);
    if (chown(state_.c_str(), kSomebody, kSomebody) != 0) {
        GTEST_SKIP() << "this user cannot give a directory away";
    }
    ExpectRefused(state_);
}

TEST_F(RunDirectoryTest, RecoveringRemovesWhatKilledRunsLeft) {
    const RunDirectory runs(Root(), 0);
    WriteFile(runs.HistoryPath(1) + ".incomplete/0", "kept file");
    WriteFile(runs.HistoryPath(2) + "/record", "a run");
    WriteFile(runs.JournalPath() + ".incomplete/0", "kept file");
    WriteFile(runs.ScratchPath() + "/file", "temporary");
    EXPECT_TRUE(runs.Recover().empty());
    EXPECT_FALSE(fs::exists(runs.HistoryPath(1) + ".incomplete"));
    EXPECT_FALSE(fs::exists(runs.JournalPath() + ".incomplete"));
    EXPECT_FALSE(fs::exists(runs.ScratchPath()));
    EXPECT_EQ(runs.History(), std::vector<int>({2}));
}
