#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "FileDescriptor.h"
#include "SyncToDisk.h"
#include "TemporaryDirectory.h"

TEST(SyncToDiskTest, SyncsFilesAndDirectories) {
    const TemporaryDirectory dir;
    const auto file = FileDescriptor::Open((dir / "file").c_str(), O_WRONLY | O_CREAT, 0600);
    EXPECT_TRUE(SyncToDisk(file.Get()));
    EXPECT_TRUE(SyncDirectoryToDisk(dir.Path()));
}

TEST(SyncToDiskTest, SyncsManyFilesTogether) {
    const TemporaryDirectory dir;
    const auto first = FileDescriptor::Open((dir / "first").c_str(), O_WRONLY | O_CREAT, 0600);
    const auto second = FileDescriptor::Open((dir / "second").c_str(), O_WRONLY | O_CREAT, 0600);
    EXPECT_TRUE(SyncAllToDisk({}));
    EXPECT_TRUE(SyncAllToDisk({first.Get(), second.Get()}));
    EXPECT_FALSE(SyncAllToDisk({-1}));
    EXPECT_EQ(errno, EBADF);
}

TEST(SyncToDiskTest, ReportsErrors) {
    EXPECT_FALSE(SyncToDisk(-1));
    EXPECT_EQ(errno, EBADF);
    const TemporaryDirectory dir;
    WriteFile(dir / "file", "");
    EXPECT_FALSE(SyncDirectoryToDisk(dir / "file"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(SyncDirectoryToDisk(dir / "missing"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(SyncToDiskTest, ReportsDescriptorThatCannotBeSynced) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_FALSE(SyncToDisk(ends[1]));
    close(ends[0]);
    close(ends[1]);
}
