#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>

#include "Directory.h"
#include "TemporaryDirectory.h"

TEST(DirectoryTest, ListsEntries) {
    const TemporaryDirectory dir;
    WriteFile(dir / "file", "");
    const Directory directory =
        ReadDirectory(FileDescriptor::Open(dir.Path().c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_TRUE(directory);
    std::set<std::string> names;
    while (const dirent* entry = readdir(directory.get())) {
        names.insert(entry->d_name);
    }
    EXPECT_EQ(names, (std::set<std::string>{".", "..", "file"}));
}

TEST(DirectoryTest, IsNullForOtherFilesAndClosesThem) {
    FileDescriptor file = FileDescriptor::Open("/dev/null", O_RDONLY);
    const int number = file.Get();
    EXPECT_FALSE(ReadDirectory(std::move(file)));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_LT(fcntl(number, F_GETFD), 0);
    errno = ENOENT;
    EXPECT_FALSE(ReadDirectory(FileDescriptor()));
    EXPECT_EQ(errno, ENOENT);
}
