#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ThrowsMessage;

TEST(ScratchDirectory, IsPrivateAndRemovedWithTheObject) {
    const TemporaryDirectory parent;
    std::string path;
    {
        const ScratchDirectory scratch(parent.Path());
        path = scratch.Path();
        EXPECT_EQ(fs::path(path).parent_path(), parent.Path());
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
        WriteFile(path + "/a/b", "contents");
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST(ScratchDirectory, ReportsUnusableParent) {
    EXPECT_THAT([] { ScratchDirectory scratch("/nonexistent"); },
                ThrowsMessage<std::runtime_error>("/nonexistent: no directory can be created here: "
                                                  "No such file or directory"));
}

// Where a scratch directory is created with this value of TMPDIR, or why it is not.
std::string ParentWith(const std::optional<std::string>& temporary) {
    ProcessOptions options;
    options.environment["TMPDIR"] = temporary;
    return RunInChild(
               [] {
                   try {
                       std::cout << fs::path(ScratchDirectory().Path()).parent_path().string();
                   } catch (const std::runtime_error& error) {
                       std::cout << error.what();
                   }
               },
               options)
        .out;
}

TEST(ScratchDirectory, FollowsTmpdir) {
    const TemporaryDirectory parent;
    EXPECT_EQ(ParentWith(parent.Path()), parent.Path());
    EXPECT_EQ(ParentWith(""), "/tmp");
    EXPECT_EQ(ParentWith(std::nullopt), "/tmp");
    EXPECT_EQ(ParentWith("/nonexistent"),
              "/nonexistent: no directory can be created here: No such file or directory; set "
              "TMPDIR to a writable directory");
}

}  // namespace
