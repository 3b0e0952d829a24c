#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "IniFile.h"
#include "Platform.h"
#include "TemporaryDirectory.h"

namespace {

struct IniFileTest : testing::Test {
    TemporaryDirectory dir;
    std::string file = dir / "test.ini";

    FileStamp Stamp() const {
        return StampOf(file.c_str()).value_or(FileStamp());
    }
};

// `time` plus a number of seconds.
timespec Later(const timespec& time, long seconds) {
    return {time.tv_sec + seconds, time.tv_nsec};
}

}  // namespace

TEST_F(IniFileTest, StampOfUnchangedFileStaysTheSame) {
    WriteFile(file, "text");
    EXPECT_TRUE(Stamp() == Stamp());
}

TEST_F(IniFileTest, StampShowsSizeModificationTimeAndIdentity) {
    WriteFile(file, "text");
    const FileStamp before = Stamp();

    std::filesystem::last_write_time(file,
                                     std::filesystem::file_time_type() + std::chrono::seconds(1));
    EXPECT_FALSE(Stamp() == before);
    EXPECT_TRUE(Stamp().IsOfSameFile(before));
    WriteFile(file, "longer text");
    EXPECT_EQ(Stamp().size, 11);
    WriteFile(dir / "other", "longer text");
    std::filesystem::rename(dir / "other", file);
    EXPECT_FALSE(Stamp().IsOfSameFile(before));
}

TEST_F(IniFileTest, OnlyRegularFilesHaveStamps) {
    EXPECT_FALSE(StampOf(file.c_str()));
    EXPECT_FALSE(StampOf(dir.Path().c_str()));
    EXPECT_FALSE(StampOf("/dev/null"));
}

TEST_F(IniFileTest, ReadsTextAndStamp) {
    WriteFile(file, "text");
    const auto contents = ReadContents(file.c_str(), {});
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->text, "text");
    EXPECT_TRUE(contents->stamp == Stamp());
}

TEST_F(IniFileTest, FileIsStableOnceTickOfLastChangeIsOver) {
    WriteFile(file, "text");
    const timespec changed = Stamp().changed;
    EXPECT_FALSE(ReadContents(file.c_str(), changed)->isStable);
    EXPECT_TRUE(ReadContents(file.c_str(), Later(changed, 4))->isStable);
    EXPECT_FALSE(ReadContents(file.c_str(), Later(changed, -4))->isStable);
}

TEST_F(IniFileTest, GeneratedFileIsNeverStable) {
    if (!kLinux) {
        GTEST_SKIP() << "this system has no file whose size differs from its contents";
    }
    const auto contents = ReadContents("/proc/self/status", {time(nullptr) + 3600, 0});
    ASSERT_TRUE(contents);
    EXPECT_FALSE(contents->isStable);
}

TEST(IniTickTest, IsTwentyMillisecondsOrThreeSecondsForWholeSeconds) {
    struct {
        timespec changed;
        timespec now;
        bool isOver;
    } const cases[] = {
        {{100, 500'000'000}, {100, 500'000'000}, false},
        {{100, 500'000'000}, {100, 519'000'000}, false},
        {{100, 500'000'000}, {100, 521'000'000}, true},
        {{100, 999'000'000}, {101, 1'000'000}, false},
        {{100, 999'000'000}, {101, 30'000'000}, true},
        {{100, 0}, {102, 900'000'000}, false},
        {{100, 0}, {103, 100'000'000}, true},
        {{100, 500'000'000}, {99, 900'000'000}, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsTickOver(c.changed, c.now), c.isOver)
            << c.changed.tv_nsec << " at " << c.now.tv_sec << "." << c.now.tv_nsec;
    }
}
