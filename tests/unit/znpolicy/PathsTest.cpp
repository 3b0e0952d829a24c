#include <gtest/gtest.h>

#include "Paths.h"

TEST(Paths, FileNameIsTheLastComponent) {
    EXPECT_EQ(FileName("/a/b.zip"), "b.zip");
    EXPECT_EQ(FileName("b.zip"), "b.zip");
    EXPECT_EQ(FileName("/a/"), "");
}

TEST(Paths, WithDirectoryNeverReturnsABareName) {
    EXPECT_EQ(WithDirectory("b.zip"), "./b.zip");
    EXPECT_EQ(WithDirectory("a/b.zip"), "a/b.zip");
    EXPECT_EQ(WithDirectory("/b.zip"), "/b.zip");
}
