#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "AtomicFile.h"
#include "IsolatedCheck.h"
#include "Platform.h"
#include "TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct AtomicFileTest : testing::Test {
    TemporaryDirectory dir;
    std::string path = dir / "file";

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

}  // namespace

TEST_F(AtomicFileTest, ReplacesFileOnCommitOnly) {
    WriteFile(path, "old");
    AtomicFile file(path, 0600);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.File().Write("new", 3), 3);
    EXPECT_EQ(ReadFile(path), "old");
    EXPECT_TRUE(file.Commit());
    EXPECT_EQ(ReadFile(path), "new");
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(AtomicFileTest, LeavesNothingBehindWithoutCommit) {
    {
        const AtomicFile file(path, 0600);
        EXPECT_EQ(Names().size(), 1U);
    }
    EXPECT_THAT(Names(), ElementsAre());
}

TEST_F(AtomicFileTest, DestructionKeepsErrno) {
    {
        const AtomicFile file(path, 0600);
        errno = EXDEV;
    }
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(AtomicFileTest, SetsExactMode) {
    const mode_t mask = umask(077);
    AtomicFile file(path, 0644);
    EXPECT_TRUE(file.SetMode(0644));
    EXPECT_TRUE(file.Commit());
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(AtomicFileTest, ReportsWhyItCannotBeOpened) {
    const AtomicFile file(dir / "missing/file", 0600);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(AtomicFileTest, RaisedPrivilegesReplaceFileThatTheUserCannotReach) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can take on two users";
    }
    ExpectHolds(InChild([&] {
        alarm(5);
        if (setreuid(kNobody, 0) != 0) {
            NotPossibleHere("become another user");
        }
        AtomicFile file(path, 0600);
        return file.IsOpen() && file.Commit() && Names() == std::vector<std::string>{"file"};
    }));
}

TEST_F(AtomicFileTest, FailedCommitLeavesNothingBehind) {
    std::filesystem::create_directory(path);
    {
        AtomicFile file(path, 0600);
        EXPECT_FALSE(file.Commit());
    }
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(AtomicFileTest, SyncedFileIsCommittedLikeAnyOther) {
    AtomicFile file(path, 0600);
    EXPECT_TRUE(file.CommitSynced());
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(AtomicFileTest, TemporaryFileIsLockedWhileItIsInUse) {
    const AtomicFile file(path, 0600);
    const FileDescriptor other = FileDescriptor::OpenRegularFile((dir / Names().at(0)).c_str());
    EXPECT_NE(flock(other.Get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(AtomicFileTest, CommitRemovesAbandonedFilesAndKeepsThoseInUse) {
    WriteFile(dir / ".zn-0123456789abcdef", "abandoned");
    const AtomicFile inUse(dir / "other", 0600);
    AtomicFile file(path, 0600);
    EXPECT_TRUE(file.Commit());

    EXPECT_FALSE(std::filesystem::exists(dir / ".zn-0123456789abcdef"));
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(AtomicFileTest, ConcurrentCommitsNeverRemoveEachOthersFiles) {
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 300; ++i) {
                AtomicFile file(path + std::to_string(thread), 0600);
                failures += file.IsOpen() && file.Commit() ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_THAT(Names(), UnorderedElementsAre("file0", "file1", "file2", "file3"));
}
