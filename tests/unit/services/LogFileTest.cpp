#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "IsolatedCheck.h"
#include "LogFile.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

using testing::UnorderedElementsAre;

constexpr size_t kLimit = size_t{10} << 20;

struct LogFileTest : testing::Test {
    TemporaryDirectory dir;
    std::string path = dir / "zn.log";
    LogFile file{path};

    void WriteOlderFiles() const {
        WriteFile(dir / "zn.1.log", "first");
        WriteFile(dir / "zn.2.log", "second");
        WriteFile(dir / "zn.3.log", "third");
        WriteFile(dir / "zn.4.log", "fourth");
    }

    // The contents of all other files in the directory.
    std::vector<std::string> OlderFiles() const {
        std::vector<std::string> contents;
        for (const auto& entry : fs::directory_iterator(dir.Path())) {
            if (entry.is_regular_file() && entry.path() != path) {
                contents.push_back(ReadFile(entry.path()));
            }
        }
        return contents;
    }
};

}  // namespace

TEST_F(LogFileTest, AppendsLines) {
    WriteFile(path, "zero\n");
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_TRUE(file.Append("two\n"));
    EXPECT_EQ(ReadFile(path), "zero\none\ntwo\n");
}

TEST_F(LogFileTest, EndsIncompleteLineFirst) {
    WriteFile(path, "cut");
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_EQ(ReadFile(path), "cut\none\n");
}

TEST_F(LogFileTest, RotatesBeforeLimitIsExceeded) {
    WriteFile(path, std::string(kLimit - 4, '\n'));
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_FALSE(fs::exists(dir / "zn.1.log"));
    EXPECT_TRUE(file.Append("two\n"));
    EXPECT_EQ(fs::file_size(dir / "zn.1.log"), kLimit);
    EXPECT_EQ(ReadFile(path), "two\n");
    EXPECT_EQ(file.RotationError(), 0);
}

TEST_F(LogFileTest, NumbersOlderFilesBeforeSuffix) {
    struct {
        const char* name;
        const char* older;
    } const cases[] = {{"a.log", "a.1.log"},
                       {"plain", "plain.1"},
                       {".hidden", ".hidden.1"},
                       {"a.b.c", "a.b.1.c"},
                       {"d.d/plain", "d.d/plain.1"}};
    for (const auto& c : cases) {
        WriteFile(dir / c.name, std::string(kLimit, '\n'));
        EXPECT_TRUE(LogFile(dir / c.name).Append("x\n"));
        EXPECT_TRUE(fs::exists(dir / c.older)) << c.name;
    }
}

TEST_F(LogFileTest, KeepsFourOlderFiles) {
    WriteOlderFiles();
    WriteFile(path, std::string(kLimit, '\n'));
    EXPECT_TRUE(file.Append("x\n"));
    EXPECT_EQ(ReadFile(dir / "zn.2.log"), "first");
    EXPECT_EQ(ReadFile(dir / "zn.4.log"), "third");
    EXPECT_FALSE(fs::exists(dir / "zn.5.log"));
}

TEST_F(LogFileTest, FailedRotationKeepsEverythingAndFileGrows) {
    WriteFile(path, std::string(kLimit, '\n'));
    WriteOlderFiles();
    WriteFile(dir / "zn.5.log/in the way", "");
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_EQ(file.RotationError(), EISDIR);
    EXPECT_TRUE(file.Append("two\n"));
    EXPECT_EQ(fs::file_size(path), kLimit + 8);
    EXPECT_THAT(OlderFiles(), UnorderedElementsAre("first", "second", "third", "fourth"));

    fs::remove_all(dir / "zn.5.log");
    EXPECT_TRUE(file.Append("three\n"));
    EXPECT_EQ(file.RotationError(), 0);
    EXPECT_EQ(ReadFile(path), "three\n");
}

TEST_F(LogFileTest, FileThatCannotBeRenamedErasesNoOlderOne) {
    WriteFile(path, std::string(kLimit, '\n'));
    WriteOlderFiles();
    const ProcessResult result = InChild([&] {
        MountFilePrivately(path);
        bool isGood = true;
        for (int i = 0; i < 10; ++i) {
            isGood = file.Append("one\n") && file.RotationError() == EBUSY && isGood;
        }
        return isGood && fs::file_size(path) == kLimit + 40;
    });
    ExpectHolds(result);
    EXPECT_THAT(OlderFiles(), UnorderedElementsAre("first", "second", "third", "fourth"));
}

TEST_F(LogFileTest, OlderFilesMoveUpToFreeNumberOnly) {
    WriteFile(path, std::string(kLimit, '\n'));
    WriteFile(dir / "zn.1.log", "first");
    WriteFile(dir / "zn.4.log", "fourth");
    EXPECT_TRUE(file.Append("x\n"));
    EXPECT_EQ(ReadFile(dir / "zn.2.log"), "first");
    EXPECT_EQ(ReadFile(dir / "zn.4.log"), "fourth");
    EXPECT_FALSE(fs::exists(dir / "zn.3.log"));
}

TEST_F(LogFileTest, RotationInReadOnlyDirectoryLosesNothing) {
    WriteFile(path, std::string(kLimit, '\n'));
    chmod(path.c_str(), 0666);
    const ProcessResult result = InChild([&] {
        BecomeOrdinaryUser(dir.Path());
        chmod(dir.Path().c_str(), 0555);
        return file.Append("one\n") && file.RotationError() == EACCES && file.Append("two\n") &&
               fs::file_size(path) == kLimit + 8;
    });
    chmod(dir.Path().c_str(), 0755);
    ExpectHolds(result);
}

TEST_F(LogFileTest, DeletedFileIsBegunAnew) {
    EXPECT_TRUE(file.Append("one\n"));
    fs::remove(path);
    EXPECT_TRUE(file.Append("two\n"));
    EXPECT_EQ(ReadFile(path), "two\n");
}

TEST_F(LogFileTest, LinkIsNotRotated) {
    WriteFile(dir / "target", std::string(kLimit, '\n'));
    fs::create_symlink("target", path);
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_EQ(fs::file_size(dir / "target"), kLimit + 4);
    EXPECT_EQ(file.RotationError(), 0);
}

TEST_F(LogFileTest, ReportsFileThatCannotBeOpened) {
    EXPECT_FALSE(LogFile(dir / "missing/zn.log").Append("one\n"));
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    EXPECT_FALSE(LogFile(dir / "fifo").Append("one\n"));
    EXPECT_EQ(errno, ENXIO);
}
