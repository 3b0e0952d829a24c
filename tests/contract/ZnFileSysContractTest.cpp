#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "ZnFileSys.h"

namespace {

class ZnFileSysContractTest : public testing::Test {
   protected:
    ZnFileSysContractTest() {
        WriteFile(file_, "contents");
    }

    const TemporaryDirectory directory_;
    const std::string file_ = directory_ / "file";
    const std::string missing_ = directory_ / "missing";
};

TEST_F(ZnFileSysContractTest, DirectoryIsCreated) {
    EXPECT_EQ(ZnDir::ZnMkDir(missing_.c_str(), 0777), 0);
    EXPECT_TRUE(std::filesystem::is_directory(missing_));
    EXPECT_NE(ZnDir::ZnMkDir(missing_.c_str(), 0777), 0);
    EXPECT_NE(ZnDir::ZnMkDir((directory_ / "a/b").c_str(), 0777), 0);
    EXPECT_NE(ZnDir::ZnMkDir(nullptr, 0777), 0);
}

TEST_F(ZnFileSysContractTest, FileIsRemoved) {
    EXPECT_EQ(ZnFile::RemoveFile(file_.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(file_));
    EXPECT_NE(ZnFile::RemoveFile(file_.c_str()), 0);
    EXPECT_NE(ZnFile::RemoveFile(directory_.Path().c_str()), 0);
    EXPECT_NE(ZnFile::RemoveFile(nullptr), 0);
}

TEST_F(ZnFileSysContractTest, FileIsReplaced) {
    const std::string bytes("a\0b\n", 4);
    for (const std::string& path : {file_, missing_}) {
        EXPECT_EQ(ZnFile::WriteBinFile(path.c_str(), bytes.data(), 4), 4);
        EXPECT_EQ(ReadFile(path), bytes);
    }
    EXPECT_EQ(ZnFile::WriteBinFile(file_.c_str(), nullptr, 0), 0);
    EXPECT_EQ(ReadFile(file_), "");
    EXPECT_NE(ZnFile::WriteBinFile((directory_ / "a/b").c_str(), "x", 1), 1);
}

TEST_F(ZnFileSysContractTest, BytesAreAppended) {
    EXPECT_EQ(ZnFile::AppendWriteFile(file_.c_str(), " more", 5), 5);
    EXPECT_EQ(ReadFile(file_), "contents more");
    EXPECT_EQ(ZnFile::AppendWriteFile(missing_.c_str(), "new", 3), 3);
    EXPECT_EQ(ReadFile(missing_), "new");
}

TEST_F(ZnFileSysContractTest, FilesOfDirectoryAndItsSubdirectoriesAreListed) {
    WriteFile(directory_ / "sub/dir/inner", "x");
    std::filesystem::create_symlink("sub", directory_ / "link");
    std::vector<std::string> files{"old"};
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(directory_.Path(), files), 0);
    EXPECT_THAT(files, testing::UnorderedElementsAre(file_, directory_ / "sub/dir/inner"));
    EXPECT_NE(ZnFile::ScanDirectoriesFiles(missing_, files), 0);
    EXPECT_TRUE(files.empty());
}

TEST_F(ZnFileSysContractTest, SizeOfFileIsReturned) {
    EXPECT_EQ(ZnFile::FileSize(file_.c_str()), 8);
    std::filesystem::resize_file(file_, 5000000000);
    EXPECT_EQ(ZnFile::FileSize(file_.c_str()), 5000000000);
    EXPECT_EQ(ZnFile::FileSize(missing_.c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize(directory_.Path().c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize(nullptr), -1);
}

TEST_F(ZnFileSysContractTest, FileIsCopiedWithPermissions) {
    ASSERT_EQ(chmod(file_.c_str(), 0751), 0);
    WriteFile(directory_ / "old", "longer than the new contents");
    for (const std::string& copy : {missing_, directory_ / "old"}) {
        EXPECT_EQ(ZnFile::ZnCopyFile(file_.c_str(), copy.c_str()), 0);
        EXPECT_EQ(ReadFile(copy), "contents");
        EXPECT_EQ(std::filesystem::status(copy).permissions(), std::filesystem::perms(0751));
    }
    EXPECT_NE(ZnFile::ZnCopyFile((directory_ / "none").c_str(), file_.c_str()), 0);
    EXPECT_EQ(ReadFile(file_), "contents");
}

}  // namespace
