#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "PathState.h"
#include "TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

class PathStateTest : public testing::Test {
   protected:
    // Keeps the state of path_, runs `change`, restores the state and returns what is there then.
    template <typename Change>
    PathState RestoreAfter(Change change) {
        before_ = PathState::Of(path_);
        if (before_.kind == PathState::Kind::kFile) {
            KeepFile(path_, before_, copy_);
        }
        change();
        RestorePath(path_, before_, copy_);
        RestorePath(path_, before_, copy_);  // a second time changes nothing
        return PathState::Of(path_);
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_ / "file";
    std::string copy_ = directory_ / "kept";
    PathState before_;
};

}  // namespace

TEST_F(PathStateTest, RestoresAReplacedFileWithContentsModeAndTime) {
    WriteFile(path_, "old");
    fs::permissions(path_, fs::perms::owner_all);
    fs::last_write_time(path_, fs::file_time_type::clock::now() - std::chrono::hours(1000));
    EXPECT_EQ(RestoreAfter([&] {
                  fs::remove(path_);
                  WriteFile(path_, "new");
              }),
              before_);
    EXPECT_EQ(ReadFile(path_), "old");
}

TEST_F(PathStateTest, LeavesAnUntouchedFileAlone) {
    WriteFile(path_, "contents");
    const PathState before = PathState::Of(path_);
    RestorePath(path_, before, directory_ / "no copy is needed");
    EXPECT_EQ(ReadFile(path_), "contents");
}

TEST_F(PathStateTest, RestoresARemovedFile) {
    WriteFile(path_, "old");
    EXPECT_EQ(RestoreAfter([&] { fs::remove(path_); }), before_);
    EXPECT_EQ(ReadFile(path_), "old");
}

TEST_F(PathStateTest, RestoresARenamedFile) {
    WriteFile(path_, "old");
    EXPECT_EQ(RestoreAfter([&] { fs::rename(path_, path_ + ".bak"); }), before_);
}

TEST_F(PathStateTest, RestoresAbsence) {
    EXPECT_EQ(RestoreAfter([&] { WriteFile(path_, "new"); }), before_);
    EXPECT_FALSE(fs::exists(path_));
}

TEST_F(PathStateTest, RestoresTheAbsenceOfAnEmptyDirectoryOnly) {
    EXPECT_EQ(RestoreAfter([&] { fs::create_directory(path_); }), before_);
    RestoreAfter([&] { WriteFile(path_ + "/somebody's", "file"); });
    EXPECT_TRUE(fs::exists(path_ + "/somebody's"));
}

TEST_F(PathStateTest, RestoresALink) {
    fs::create_symlink("elsewhere", path_);
    EXPECT_EQ(RestoreAfter([&] {
                  fs::remove(path_);
                  WriteFile(path_, "new");
              }),
              before_);
    EXPECT_EQ(fs::read_symlink(path_), "elsewhere");
}

TEST_F(PathStateTest, LeavesNoTemporaryFile) {
    WriteFile(path_, "old");
    RestoreAfter([&] {
        fs::remove(path_);
        WriteFile(path_, "new");
    });
    size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(directory_.Path())) {
        ++entries;
    }
    EXPECT_EQ(entries, 2U);
}

TEST_F(PathStateTest, ReportsAPathThatCannotBeRestored) {
    WriteFile(directory_ / "gone/file", "old");
    const PathState before = PathState::Of(directory_ / "gone/file");
    KeepFile(directory_ / "gone/file", before, copy_);
    fs::remove_all(directory_ / "gone");
    EXPECT_THROW(RestorePath(directory_ / "gone/file", before, copy_), std::runtime_error);
}
