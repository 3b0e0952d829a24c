#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"
#include "TemporaryFiles.h"

namespace {

namespace fs = std::filesystem;

struct TemporaryFilesTest : testing::Test {
    TemporaryDirectory dir;
    std::string abandoned = dir / ".zn-0123456789abcdef";
};

}  // namespace

TEST_F(TemporaryFilesTest, NamesAreUniqueAndBesideTheFile) {
    for (const std::string directory : {"", "/", "a/", "/a/b/"}) {
        const std::string name = TemporaryNameBeside(directory + "file");
        EXPECT_EQ(name.substr(0, directory.size()), directory);
        EXPECT_TRUE(IsTemporaryName(name.substr(directory.size()))) << name;
        EXPECT_NE(name, TemporaryNameBeside(directory + "file"));
    }
}

TEST_F(TemporaryFilesTest, RecognizesOwnNamesOnly) {
    EXPECT_TRUE(IsTemporaryName(".zn-0123456789abcdef"));
    for (const char* name :
         {"", ".zn-", ".zn-0123456789abcde", ".zn-0123456789abcdef0", ".zn-0123456789ABCDEF",
          "xzn-0123456789abcdef", ".zn-0123456789abcdeg", "/.zn-0123456789abcdef"}) {
        EXPECT_FALSE(IsTemporaryName(name)) << name;
    }
}

TEST_F(TemporaryFilesTest, RemovesAbandonedFilesAndNothingElse) {
    WriteFile(abandoned, "");
    const std::string others[] = {dir / "file", dir / ".zn-", dir / ".zn-0123456789abcdef0",
                                  dir / ".zn-notes"};
    for (const std::string& other : others) {
        WriteFile(other, "");
    }
    const std::string link = dir / ".zn-aaaaaaaaaaaaaaaa";
    fs::create_symlink("file", link);
    const std::string subdirectory = dir / ".zn-bbbbbbbbbbbbbbbb";
    fs::create_directory(subdirectory);
    const std::string pipe = dir / ".zn-cccccccccccccccc";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

    errno = EXDEV;
    RemoveAbandonedFilesBeside(dir / "file", Cleanup::kNowAndThen);

    EXPECT_EQ(errno, EXDEV);
    EXPECT_FALSE(fs::exists(abandoned));
    for (const std::string& other : others) {
        EXPECT_TRUE(fs::exists(other)) << other;
    }
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::is_directory(subdirectory));
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(TemporaryFilesTest, KeepsFilesInUse) {
    const auto file = FileDescriptor::Open(abandoned.c_str(), O_RDWR | O_CREAT, 0600);
    EXPECT_TRUE(ClaimTemporaryFile(file));
    RemoveAbandonedFilesBeside(dir / "file", Cleanup::kNowAndThen);

    EXPECT_TRUE(fs::exists(abandoned));
}

TEST_F(TemporaryFilesTest, RemovesFileOfKilledProcess) {
    int ready[2] = {};
    ASSERT_EQ(pipe(ready), 0);
    ChildProcess owner([&] {
        const auto file = FileDescriptor::Open(abandoned.c_str(), O_RDWR | O_CREAT, 0600);
        (void)(write(ready[1], ClaimTemporaryFile(file) ? "y" : "n", 1) < 0);
        pause();
    });
    char claimed = 'n';
    ASSERT_EQ(read(ready[0], &claimed, 1), 1);
    EXPECT_EQ(claimed, 'y');
    owner.Send(SIGKILL);
    owner.Wait();
    RemoveAbandonedFilesBeside(dir / "file", Cleanup::kNowAndThen);

    EXPECT_FALSE(fs::exists(abandoned));
    close(ready[0]);
    close(ready[1]);
}

TEST_F(TemporaryFilesTest, ClaimFailsForRemovedOrLockedFile) {
    const auto file = FileDescriptor::Open(abandoned.c_str(), O_RDWR | O_CREAT, 0600);
    const FileDescriptor other = FileDescriptor::OpenRegularFile(abandoned.c_str());
    ASSERT_EQ(flock(other.Get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_FALSE(ClaimTemporaryFile(file));
    ASSERT_EQ(flock(other.Get(), LOCK_UN), 0);
    fs::remove(abandoned);
    EXPECT_FALSE(ClaimTemporaryFile(file));
}

TEST_F(TemporaryFilesTest, WorksInWorkingDirectory) {
    ExpectHolds(InChild([&] {
        WriteFile(abandoned, "");
        fs::current_path(dir.Path());
        RemoveAbandonedFilesBeside("file", Cleanup::kNowAndThen);
        return !fs::exists(abandoned);
    }));
}

TEST_F(TemporaryFilesTest, ReadsDirectoryOncePerNumberOfEntries) {
    for (int i = 0; i < 10; ++i) {
        WriteFile(dir / std::to_string(i), "");
    }
    RemoveAbandonedFilesBeside(dir / "0", Cleanup::kNowAndThen);
    WriteFile(abandoned, "");
    const long entries = 12;  // with "." and ".."
    for (long call = 0; call < entries; ++call) {
        RemoveAbandonedFilesBeside(dir / "0", Cleanup::kNowAndThen);
        EXPECT_TRUE(fs::exists(abandoned)) << call;
    }
    RemoveAbandonedFilesBeside(dir / "0", Cleanup::kNowAndThen);
    EXPECT_FALSE(fs::exists(abandoned));
}

TEST_F(TemporaryFilesTest, ReadsDirectoryInEveryCallOnRequest) {
    for (int call = 0; call < 5; ++call) {
        WriteFile(abandoned, "");
        RemoveAbandonedFilesBeside(dir / "0", Cleanup::kAlways);
        EXPECT_FALSE(fs::exists(abandoned)) << call;
    }
}

TEST_F(TemporaryFilesTest, ReadsOtherDirectoryAtOnce) {
    WriteFile(dir / "a/.zn-0123456789abcdef", "");
    WriteFile(dir / "b/.zn-0123456789abcdef", "");
    RemoveAbandonedFilesBeside(dir / "a/file", Cleanup::kNowAndThen);
    RemoveAbandonedFilesBeside(dir / "b/file", Cleanup::kNowAndThen);

    EXPECT_TRUE(fs::is_empty(dir / "a"));
    EXPECT_TRUE(fs::is_empty(dir / "b"));
}
