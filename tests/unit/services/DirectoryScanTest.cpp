#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "DirectoryScan.h"
#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

}  // namespace

TEST(DirectoryScanTest, AppendsFilesOfAllLevels) {
    const TemporaryDirectory dir;
    WriteFile(dir / "a/b/c", "");
    WriteFile(dir / "d", "");
    std::vector<std::string> files{"previous"};
    EXPECT_TRUE(ScanDirectory(dir / "", files));
    EXPECT_THAT(files, testing::UnorderedElementsAre("previous", dir / "a/b/c", dir / "d"));
}

TEST(DirectoryScanTest, ReportsDirectoryThatCannotBeRead) {
    const TemporaryDirectory dir;
    std::vector<std::string> files;
    EXPECT_FALSE(ScanDirectory(dir / "missing/", files));
    EXPECT_TRUE(files.empty());
}

TEST(DirectoryScanTest, NeverFollowsLinkThatReplacesDirectory) {
    const TemporaryDirectory dir;
    WriteFile(dir / "tree/sub/deep/file", "");
    WriteFile(dir / "outside/deep/secret", "");
    fs::create_symlink("../outside", dir / "tree/link");
    std::atomic<bool> isDone = false;
    std::thread attacker([&] {
        while (!isDone) {
            fs::rename(dir / "tree/sub", dir / "aside");
            fs::rename(dir / "tree/link", dir / "tree/sub");
            fs::rename(dir / "tree/sub", dir / "tree/link");
            fs::rename(dir / "aside", dir / "tree/sub");
        }
    });
    for (int i = 0; i < 20'000; ++i) {
        std::vector<std::string> files;
        ScanDirectory(dir / "tree/", files);
        for (const std::string& file : files) {
            EXPECT_EQ(file.find("secret"), std::string::npos) << file;
        }
    }
    isDone = true;
    attacker.join();
}

TEST(DirectoryScanTest, NeedsFewDescriptorsForDeepTree) {
    const TemporaryDirectory dir;
    std::string directory;
    for (int level = 0; level < 300; ++level) {
        directory += "d/";
    }
    WriteFile(dir / (directory + "file"), "");
    ExpectHolds(InChild([&] {
        const rlimit limit = {16, 16};
        setrlimit(RLIMIT_NOFILE, &limit);
        std::vector<std::string> files;
        return ScanDirectory(dir / "", files) &&
               files == std::vector<std::string>{dir / (directory + "file")};
    }));
}
