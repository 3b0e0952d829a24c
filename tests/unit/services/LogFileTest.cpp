#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "IsolatedCheck.h"
#include "LogFile.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kLimit = size_t{10} << 20;

struct LogFileTest : testing::Test {
    TemporaryDirectory dir;
    std::string path = dir / "zn.log";
    LogFile file{path};
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
    for (const char* name : {"zn.1.log", "zn.2.log", "zn.3.log", "zn.4.log"}) {
        WriteFile(dir / name, name);
    }
    WriteFile(path, std::string(kLimit, '\n'));
    EXPECT_TRUE(file.Append("x\n"));
    EXPECT_EQ(ReadFile(dir / "zn.2.log"), "zn.1.log");
    EXPECT_EQ(ReadFile(dir / "zn.4.log"), "zn.3.log");
    EXPECT_FALSE(fs::exists(dir / "zn.5.log"));
}

TEST_F(LogFileTest, FailedRotationKeepsEverythingAndFileGrows) {
    WriteFile(path, std::string(kLimit, '\n'));
    WriteFile(dir / "zn.4.log/in the way", "");
    WriteFile(dir / "zn.3.log", "old\n");
    EXPECT_TRUE(file.Append("one\n"));
    EXPECT_EQ(file.RotationError(), EISDIR);
    EXPECT_TRUE(file.Append("two\n"));
    EXPECT_EQ(fs::file_size(path), kLimit + 8);
    EXPECT_EQ(ReadFile(dir / "zn.3.log"), "old\n");

    fs::remove_all(dir / "zn.4.log");
    EXPECT_TRUE(file.Append("three\n"));
    EXPECT_EQ(file.RotationError(), 0);
    EXPECT_EQ(ReadFile(path), "three\n");
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
