#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"
#include "ZnFileSys.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Sets the umask for the life of the object.
class ScopedUmask {
   public:
    explicit ScopedUmask(mode_t mask) : old_(umask(mask)) {}
    ~ScopedUmask() {
        umask(old_);
    }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

   private:
    mode_t old_;
};

mode_t ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

bool IsLink(const std::string& path) {
    return std::filesystem::is_symlink(path);
}

// The names of everything in a directory, sorted.
std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

long long Write(const std::string& path, const std::string& contents) {
    return ZnFile::WriteBinFile(path.c_str(), contents.data(),
                                static_cast<long long>(contents.size()));
}

long long Append(const std::string& path, const std::string& contents) {
    return ZnFile::AppendWriteFile(path.c_str(), contents.data(),
                                   static_cast<long long>(contents.size()));
}

int Copy(const std::string& source, const std::string& destination) {
    return ZnFile::ZnCopyFile(source.c_str(), destination.c_str());
}

// Bytes of all values, no two blocks alike.
std::string Pattern(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 131 + i / 251) & 0xFF);
    }
    return bytes;
}

const std::string kLongPath(10000, 'x');

struct ZnFileSysTest : testing::Test {
    TemporaryDirectory dir;
};

using ZnDirTest = ZnFileSysTest;
using RemoveFileTest = ZnFileSysTest;
using FileSizeTest = ZnFileSysTest;
using WriteBinFileTest = ZnFileSysTest;
using AppendWriteFileTest = ZnFileSysTest;
using ScanTest = ZnFileSysTest;
using CopyFileTest = ZnFileSysTest;

// ZnMkDir

TEST_F(ZnDirTest, CreatesDirectoryWithModeLessUmask) {
    const ScopedUmask mask(027);
    EXPECT_EQ(ZnDir::ZnMkDir((dir / "new").c_str(), 0777), 0);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "new"));
    EXPECT_EQ(ModeOf(dir / "new"), 0750U);
}

TEST_F(ZnDirTest, FailsWhenDirectoryExists) {
    EXPECT_NE(ZnDir::ZnMkDir(dir.Path().c_str(), 0777), 0);
}

TEST_F(ZnDirTest, FailsWhenParentIsMissing) {
    EXPECT_NE(ZnDir::ZnMkDir((dir / "missing/new").c_str(), 0777), 0);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST_F(ZnDirTest, FailsForNullPath) {
    EXPECT_NE(ZnDir::ZnMkDir(nullptr, 0777), 0);
}

// RemoveFile

TEST_F(RemoveFileTest, DeletesReadOnlyFile) {
    WriteFile(dir / "file", "x");
    chmod((dir / "file").c_str(), 0444);
    EXPECT_EQ(ZnFile::RemoveFile((dir / "file").c_str()), 0);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST_F(RemoveFileTest, DeletesLinkAndNotItsTarget) {
    WriteFile(dir / "file", "x");
    std::filesystem::create_symlink(dir / "file", dir / "link");
    EXPECT_EQ(ZnFile::RemoveFile((dir / "link").c_str()), 0);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
}

TEST_F(RemoveFileTest, DoesNotDeleteDirectory) {
    std::filesystem::create_directory(dir / "sub");
    EXPECT_NE(ZnFile::RemoveFile((dir / "sub").c_str()), 0);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("sub"));
}

TEST_F(RemoveFileTest, FailsForMissingOrNullPath) {
    EXPECT_NE(ZnFile::RemoveFile((dir / "missing").c_str()), 0);
    EXPECT_NE(ZnFile::RemoveFile(""), 0);
    EXPECT_NE(ZnFile::RemoveFile(nullptr), 0);
}

// FileSize

TEST_F(FileSizeTest, ReturnsNumberOfBytes) {
    WriteFile(dir / "empty", "");
    WriteFile(dir / "seven", "seven b");
    EXPECT_EQ(ZnFile::FileSize((dir / "empty").c_str()), 0);
    EXPECT_EQ(ZnFile::FileSize((dir / "seven").c_str()), 7);
}

TEST_F(FileSizeTest, Exceeds32Bits) {
    WriteFile(dir / "sparse", "");
    std::filesystem::resize_file(dir / "sparse", 5'000'000'000);
    EXPECT_EQ(ZnFile::FileSize((dir / "sparse").c_str()), 5'000'000'000);
}

TEST_F(FileSizeTest, FollowsLink) {
    WriteFile(dir / "file", "123");
    std::filesystem::create_symlink("file", dir / "link");
    EXPECT_EQ(ZnFile::FileSize((dir / "link").c_str()), 3);
}

TEST_F(FileSizeTest, ReturnsMinusOneWithoutRegularFile) {
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("missing", dir / "dangling");
    EXPECT_EQ(ZnFile::FileSize((dir / "missing").c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize((dir / "dangling").c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize((dir / "pipe").c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize(dir.Path().c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize(kLongPath.c_str()), -1);
    EXPECT_EQ(ZnFile::FileSize(nullptr), -1);
}

// WriteBinFile

TEST_F(WriteBinFileTest, CreatesFileOfAnyBytes) {
    const std::string bytes = Pattern(100'000);
    EXPECT_EQ(Write(dir / "new", bytes), 100'000);
    EXPECT_EQ(ReadFile(dir / "new"), bytes);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("new"));
}

TEST_F(WriteBinFileTest, GivesNewFileUsualPermissionsLessUmask) {
    const ScopedUmask mask(037);
    EXPECT_EQ(Write(dir / "new", "x"), 1);
    EXPECT_EQ(ModeOf(dir / "new"), 0640U);
}

TEST_F(WriteBinFileTest, ReplacesContentsAndKeepsPermissions) {
    const ScopedUmask mask(022);
    for (const mode_t mode : {0600U, 0444U, 0666U, 0755U}) {
        WriteFile(dir / "file", "previous");
        chmod((dir / "file").c_str(), mode);
        EXPECT_EQ(Write(dir / "file", "new"), 3);
        EXPECT_EQ(ReadFile(dir / "file"), "new");
        EXPECT_EQ(ModeOf(dir / "file"), mode);
        std::filesystem::remove(dir / "file");
    }
}

TEST_F(WriteBinFileTest, DropsSetIdBitsOfReplacedFile) {
    // The writer becomes the owner, and the file must not run with the writer's privileges.
    WriteFile(dir / "file", "old");
    chmod((dir / "file").c_str(), 06755);
    EXPECT_EQ(Write(dir / "file", "new"), 3);
    EXPECT_EQ(ModeOf(dir / "file"), 0755U);
}

TEST_F(WriteBinFileTest, ZeroLengthEmptiesFile) {
    WriteFile(dir / "file", "old");
    EXPECT_EQ(ZnFile::WriteBinFile((dir / "file").c_str(), nullptr, 0), 0);
    EXPECT_EQ(ReadFile(dir / "file"), "");
}

TEST_F(WriteBinFileTest, RefusesNegativeLengthAndNullArguments) {
    WriteFile(dir / "file", "old");
    EXPECT_EQ(ZnFile::WriteBinFile((dir / "file").c_str(), "x", -1), 0);
    EXPECT_EQ(ZnFile::WriteBinFile((dir / "file").c_str(), nullptr, 1), -1);
    EXPECT_EQ(ZnFile::WriteBinFile(nullptr, "x", 1), -1);
    EXPECT_EQ(ZnFile::WriteBinFile(nullptr, nullptr, 0), -1);
    EXPECT_EQ(ReadFile(dir / "file"), "old");
}

TEST_F(WriteBinFileTest, ReplacesLinkAndNotItsTarget) {
    WriteFile(dir / "file", "old");
    std::filesystem::create_symlink("file", dir / "link");
    EXPECT_EQ(Write(dir / "link", "new"), 3);
    EXPECT_FALSE(IsLink(dir / "link"));
    EXPECT_EQ(ReadFile(dir / "link"), "new");
    EXPECT_EQ(ReadFile(dir / "file"), "old");
}

TEST_F(WriteBinFileTest, NeverReplacesDirectoryOrPipe) {
    std::filesystem::create_directory(dir / "sub");
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(Write(dir / "sub", "x"), -1);
    EXPECT_EQ(Write(dir / "sub/", "x"), -1);
    EXPECT_EQ(Write(dir / "pipe", "x"), -1);
    EXPECT_TRUE(std::filesystem::is_fifo(dir / "pipe"));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("pipe", "sub"));
    EXPECT_THAT(NamesIn(dir / "sub"), IsEmpty());
}

TEST_F(WriteBinFileTest, FailsWhereNoFileCanBe) {
    WriteFile(dir / "file", "old");
    EXPECT_EQ(Write(dir / "missing/new", "x"), -1);
    EXPECT_EQ(Write(dir / "file/new", "x"), -1);
    EXPECT_EQ(Write(dir / "new/", "x"), -1);
    EXPECT_EQ(Write(dir / kLongPath, "x"), -1);
    EXPECT_EQ(Write("", "x"), -1);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
    EXPECT_EQ(ReadFile(dir / "file"), "old");
}

TEST_F(WriteBinFileTest, AcceptsLongestFileName) {
    const std::string name(255, 'n');
    EXPECT_EQ(Write(dir / name, "x"), 1);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre(name));
}

TEST_F(WriteBinFileTest, AcceptsRelativePath) {
    ExpectHolds(
        InChild([&] { return chdir(dir.Path().c_str()) == 0 && Write("plain", "x") == 1; }));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("plain"));
}

TEST_F(WriteBinFileTest, FailsInReadOnlyDirectory) {
    WriteFile(dir / "file", "old");
    const ProcessResult result = InChild([&] {
        BecomeOrdinaryUser(dir.Path());
        chmod(dir.Path().c_str(), 0555);
        return Write(dir / "file", "new") == -1 && Write(dir / "other", "new") == -1;
    });
    chmod(dir.Path().c_str(), 0755);
    ExpectHolds(result);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file"));
    EXPECT_EQ(ReadFile(dir / "file"), "old");
}

TEST_F(WriteBinFileTest, ReaderNeverSeesMixture) {
    const std::string all[] = {std::string(200'000, 'a'), std::string(150'000, 'b')};
    WriteFile(dir / "file", all[0]);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 1; i <= 50; ++i) {
            EXPECT_GT(Write(dir / "file", all[i % 2]), 0);
        }
        done = true;
    });
    while (!done) {
        const std::string seen = ReadFile(dir / "file");
        EXPECT_TRUE(seen == all[0] || seen == all[1]) << seen.size() << " bytes";
    }
    writer.join();
}

// Returns once `reader` has delivered `count` more bytes.
void AwaitBytes(int reader, int count) {
    char byte = 0;
    while (count > 0 && read(reader, &byte, 1) == 1) {
        --count;
    }
}

TEST_F(WriteBinFileTest, WriterKilledAtAnyMomentLeavesFileWhole) {
    const std::string all[] = {std::string(400'000, 'a'), std::string(300'000, 'b')};
    WriteFile(dir / "file", all[0]);
    for (int writes = 1; writes <= 20; ++writes) {
        int progress[2] = {};
        ASSERT_EQ(pipe(progress), 0);
        ChildProcess writer([&] {
            alarm(60);
            for (size_t i = 1;; ++i) {
                (void)(write(progress[1], "w", 1) < 0);
                Write(dir / "file", all[i % 2]);
            }
        });
        close(progress[1]);
        AwaitBytes(progress[0], writes);
        writer.Send(SIGKILL);
        EXPECT_EQ(writer.Wait().signal, SIGKILL);
        close(progress[0]);
        const std::string seen = ReadFile(dir / "file");
        EXPECT_TRUE(seen == all[0] || seen == all[1]) << seen.size() << " bytes";
    }
    for (const std::string& name : NamesIn(dir.Path())) {
        EXPECT_TRUE(name == "file" || name.rfind(".zn-", 0) == 0) << name;
    }
}

// AppendWriteFile

TEST_F(AppendWriteFileTest, CreatesFileAndAppends) {
    const ScopedUmask mask(022);
    const std::string bytes = Pattern(100'000);
    EXPECT_EQ(Append(dir / "file", "first"), 5);
    EXPECT_EQ(Append(dir / "file", bytes), 100'000);
    EXPECT_EQ(ReadFile(dir / "file"), "first" + bytes);
    EXPECT_EQ(ModeOf(dir / "file"), 0644U);
}

TEST_F(AppendWriteFileTest, ZeroLengthCreatesEmptyFile) {
    EXPECT_EQ(ZnFile::AppendWriteFile((dir / "file").c_str(), nullptr, 0), 0);
    EXPECT_EQ(ReadFile(dir / "file"), "");
}

TEST_F(AppendWriteFileTest, AppendsToTargetOfLink) {
    WriteFile(dir / "file", "old");
    std::filesystem::create_symlink("file", dir / "link");
    EXPECT_EQ(Append(dir / "link", "+new"), 4);
    EXPECT_TRUE(IsLink(dir / "link"));
    EXPECT_EQ(ReadFile(dir / "file"), "old+new");
}

TEST_F(AppendWriteFileTest, RefusesOtherThanRegularFileWithoutWaiting) {
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    const int reader = open((dir / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(Append(dir / "pipe", "x"), -1);
    close(reader);
    EXPECT_EQ(Append(dir / "pipe", "x"), -1);
    EXPECT_EQ(Append(dir.Path(), "x"), -1);
    EXPECT_EQ(Append(dir / "missing/file", "x"), -1);
    EXPECT_EQ(Append("", "x"), -1);
}

TEST_F(AppendWriteFileTest, RefusesNegativeLengthAndNullArguments) {
    EXPECT_EQ(ZnFile::AppendWriteFile((dir / "file").c_str(), "x", -1), 0);
    EXPECT_EQ(ZnFile::AppendWriteFile((dir / "file").c_str(), nullptr, 1), -1);
    EXPECT_EQ(ZnFile::AppendWriteFile(nullptr, "x", 1), -1);
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST_F(AppendWriteFileTest, ThreadsAppendWithoutLosingBytes) {
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int line = 0; line < 250; ++line) {
                EXPECT_EQ(Append(dir / "file", "0123456789\n"), 11);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ZnFile::FileSize((dir / "file").c_str()), 4 * 250 * 11);
}

// ScanDirectoriesFiles

TEST_F(ScanTest, ListsAllFilesInByteOrder) {
    for (const char* name : {"b", "a/z", "a/b/c", "a.txt", "a-b", "B", ".hidden", "a/.h/x"}) {
        WriteFile(dir / name, "x");
    }
    std::filesystem::create_directory(dir / "empty");
    std::vector<std::string> files{"previous"};
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    EXPECT_THAT(files, ElementsAre(dir / ".hidden", dir / "B", dir / "a-b", dir / "a.txt",
                                   dir / "a/.h/x", dir / "a/b/c", dir / "a/z", dir / "b"));
}

TEST_F(ScanTest, KeepsDirectoryAsWrittenAndAddsOneSeparator) {
    WriteFile(dir / "file", "x");
    std::vector<std::string> files;
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir / "", files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "file"));
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir / "./", files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "./file"));
}

TEST_F(ScanTest, ListsNeitherLinksNorPipes) {
    WriteFile(dir / "file", "x");
    WriteFile(dir / "sub/inner", "x");
    std::filesystem::create_symlink("file", dir / "link-to-file");
    std::filesystem::create_symlink("sub", dir / "link-to-directory");
    std::filesystem::create_symlink("missing", dir / "dangling");
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    std::vector<std::string> files;
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "file", dir / "sub/inner"));
}

TEST_F(ScanTest, IgnoresLoopOfLinks) {
    WriteFile(dir / "a/file", "x");
    std::filesystem::create_symlink("..", dir / "a/up");
    std::filesystem::create_symlink(".", dir / "a/self");
    std::vector<std::string> files;
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "a/file"));
}

TEST_F(ScanTest, FollowsLinkToStartingDirectory) {
    WriteFile(dir / "real/file", "x");
    std::filesystem::create_symlink("real", dir / "link");
    std::vector<std::string> files;
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir / "link", files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "link/file"));
}

TEST_F(ScanTest, KeepsNamesOfAnyBytes) {
    const std::vector<std::string> names = {"-rf", "a\nline", "caf\xC3\xA9", "not utf-8 \xFF\xFE",
                                            "two  blanks "};
    for (const std::string& name : names) {
        WriteFile(dir / ("sub dir/" + name), name);
    }
    std::vector<std::string> files;
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    ASSERT_EQ(files.size(), names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(files[i], dir / ("sub dir/" + names[i]));
        EXPECT_EQ(ReadFile(files[i]), names[i]);
    }
}

TEST_F(ScanTest, EmptyDirectoryHasNoFiles) {
    std::vector<std::string> files{"previous"};
    EXPECT_EQ(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    EXPECT_THAT(files, IsEmpty());
}

TEST_F(ScanTest, FailsWithoutDirectory) {
    WriteFile(dir / "file", "x");
    for (const std::string& path : {dir / "missing", dir / "file", std::string(), dir / kLongPath,
                                    dir.Path() + std::string("\0", 1)}) {
        std::vector<std::string> files{"previous"};
        EXPECT_NE(ZnFile::ScanDirectoriesFiles(path, files), 0) << path;
        EXPECT_THAT(files, IsEmpty());
    }
}

TEST_F(ScanTest, ListsRestWhenSubdirectoryCannotBeRead) {
    WriteFile(dir / "a/file", "x");
    WriteFile(dir / "closed/file", "x");
    WriteFile(dir / "z/file", "x");
    chmod((dir / "closed").c_str(), 0);
    const ProcessResult result = InChild([&] {
        BecomeOrdinaryUser(dir.Path());
        std::vector<std::string> files;
        return ZnFile::ScanDirectoriesFiles(dir.Path(), files) != 0 &&
               files == std::vector<std::string>{dir / "a/file", dir / "z/file"};
    });
    chmod((dir / "closed").c_str(), 0700);
    ExpectHolds(result);
}

TEST_F(ScanTest, SurvivesTreeDeeperThanAnyPath) {
    // 1,500 levels of 10 bytes: three times what a path can name. It is made, and taken down, from
    // inside.
    constexpr int kLevels = 1500;
    const char* name = "0123456789";
    WriteFile(dir / "file", "x");
    ExpectHolds(InChild([&] {
        bool good = chdir(dir.Path().c_str()) == 0;
        for (int level = 0; good && level < kLevels; ++level) {
            good = mkdir(name, 0777) == 0 && chdir(name) == 0;
        }
        return good;
    }));
    std::vector<std::string> files;
    EXPECT_NE(ZnFile::ScanDirectoriesFiles(dir.Path(), files), 0);
    EXPECT_THAT(files, ElementsAre(dir / "file"));
    ExpectHolds(InChild([&] {
        bool good = chdir(dir.Path().c_str()) == 0;
        for (int level = 0; good && level < kLevels; ++level) {
            good = chdir(name) == 0;
        }
        for (int level = 0; good && level < kLevels; ++level) {
            good = chdir("..") == 0 && rmdir(name) == 0;
        }
        return good;
    }));
}

// ZnCopyFile

TEST_F(CopyFileTest, CopiesFilesOfAnySize) {
    for (const size_t size : {0U, 1U, 65'535U, 65'536U, 65'537U, 5'000'000U}) {
        const std::string bytes = Pattern(size);
        WriteFile(dir / "source", bytes);
        EXPECT_EQ(Copy(dir / "source", dir / "copy"), 0);
        EXPECT_TRUE(ReadFile(dir / "copy") == bytes) << size << " bytes";
    }
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("copy", "source"));
}

TEST_F(CopyFileTest, KeepsPermissionsWhateverUmask) {
    const ScopedUmask mask(077);
    for (const mode_t mode : {0400U, 0444U, 0600U, 0644U, 0666U, 0755U, 0777U}) {
        WriteFile(dir / "source", "x");
        chmod((dir / "source").c_str(), mode);
        EXPECT_EQ(Copy(dir / "source", dir / "copy"), 0);
        EXPECT_EQ(ModeOf(dir / "copy"), mode);
        std::filesystem::remove(dir / "source");
    }
}

TEST_F(CopyFileTest, DropsSetIdBits) {
    WriteFile(dir / "source", "x");
    chmod((dir / "source").c_str(), 06755);
    EXPECT_EQ(Copy(dir / "source", dir / "copy"), 0);
    EXPECT_EQ(ModeOf(dir / "copy"), 0755U);
}

TEST_F(CopyFileTest, ReplacesReadOnlyDestination) {
    WriteFile(dir / "source", "new");
    chmod((dir / "source").c_str(), 0755);
    WriteFile(dir / "copy", "previous");
    chmod((dir / "copy").c_str(), 0444);
    EXPECT_EQ(Copy(dir / "source", dir / "copy"), 0);
    EXPECT_EQ(ReadFile(dir / "copy"), "new");
    EXPECT_EQ(ModeOf(dir / "copy"), 0755U);
}

TEST_F(CopyFileTest, FollowsSourceLinkAndReplacesDestinationLink) {
    WriteFile(dir / "source", "new");
    WriteFile(dir / "other", "old");
    std::filesystem::create_symlink("source", dir / "from");
    std::filesystem::create_symlink("other", dir / "to");
    EXPECT_EQ(Copy(dir / "from", dir / "to"), 0);
    EXPECT_FALSE(IsLink(dir / "to"));
    EXPECT_EQ(ReadFile(dir / "to"), "new");
    EXPECT_EQ(ReadFile(dir / "other"), "old");
}

TEST_F(CopyFileTest, CopiesFileOntoItself) {
    WriteFile(dir / "file", "contents");
    chmod((dir / "file").c_str(), 0640);
    EXPECT_EQ(Copy(dir / "file", dir / "file"), 0);
    EXPECT_EQ(ReadFile(dir / "file"), "contents");
    EXPECT_EQ(ModeOf(dir / "file"), 0640U);
}

TEST_F(CopyFileTest, RefusesSourceOtherThanRegularFileWithoutWaiting) {
    WriteFile(dir / "copy", "old");
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    for (const std::string& source : {dir.Path(), dir / "missing", dir / "pipe",
                                      std::string("/dev/zero"), std::string(), kLongPath}) {
        EXPECT_NE(Copy(source, dir / "copy"), 0) << source;
    }
    EXPECT_NE(ZnFile::ZnCopyFile(nullptr, (dir / "copy").c_str()), 0);
    EXPECT_EQ(ReadFile(dir / "copy"), "old");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("copy", "pipe"));
}

TEST_F(CopyFileTest, FailsWhereNoFileCanBe) {
    WriteFile(dir / "source", "x");
    std::filesystem::create_directory(dir / "sub");
    for (const std::string& destination :
         {dir / "missing/copy", dir / "sub", dir / "source/copy", std::string(), kLongPath}) {
        EXPECT_NE(Copy(dir / "source", destination), 0) << destination;
    }
    EXPECT_NE(ZnFile::ZnCopyFile((dir / "source").c_str(), nullptr), 0);
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("source", "sub"));
    EXPECT_THAT(NamesIn(dir / "sub"), IsEmpty());
}

TEST_F(CopyFileTest, RefusesUnreadableSource) {
    WriteFile(dir / "source", "secret");
    chmod((dir / "source").c_str(), 0);
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(dir.Path());
        return Copy(dir / "source", dir / "copy") != 0;
    }));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("source"));
}

// Room runs out in the middle of a write. Each case runs with an old file of 1,000 bytes in a
// directory where no file of 1,000,000 can be written.

// What must hold in `directory`; the reason that it does not goes to standard error.
bool NothingChangesWhenRoomRunsOut(const std::string& directory, const std::string& largeFile) {
    const std::string old(1000, 'o');
    const std::string large = ReadFile(largeFile);
    const std::string path = directory + "/file";
    WriteFile(path, old);
    const auto holds = [&](bool condition, const char* what) {
        if (!condition) {
            std::cerr << "does not hold: " << what << "\n";
        }
        return condition;
    };
    const std::vector<std::string> onlyOld{"file"};
    return holds(Write(path, large) == -1, "a whole-file write fails") &&
           holds(ReadFile(path) == old, "it leaves the old file") &&
           holds(Copy(largeFile, path) != 0, "a copy fails") &&
           holds(ReadFile(path) == old, "it leaves the old file") &&
           holds(Write(directory + "/new", large) == -1, "a new file is not written") &&
           holds(Copy(largeFile, directory + "/new") != 0, "a new copy is not made") &&
           holds(NamesIn(directory) == onlyOld, "no part of it remains") &&
           holds(Write(path, "small") == 5, "what fits is still written") &&
           holds(Append(path, large) > 0, "an append writes what fits") &&
           holds(ReadFile(path) ==
                     "small" +
                         large.substr(0, static_cast<size_t>(ZnFile::FileSize(path.c_str())) - 5),
                 "an append tells how much") &&
           holds(Append(path, large) < static_cast<long long>(large.size()), "and no more");
}

struct NoRoomTest : testing::Test {
    NoRoomTest() {
        WriteFile(dir / "large", Pattern(1'000'000));
        std::filesystem::create_directory(dir / "small");
    }
    TemporaryDirectory dir;
};

TEST_F(NoRoomTest, FileSizeLimitChangesNothing) {
    ExpectHolds(InChild([&] {
        (void)signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {100'000, 100'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        return NothingChangesWhenRoomRunsOut(dir / "small", dir / "large");
    }));
}

TEST_F(NoRoomTest, FullDiskChangesNothing) {
    const ProcessResult result = InChild([&] {
        MountPrivately("tmpfs", dir / "small", "size=128k");
        return NothingChangesWhenRoomRunsOut(dir / "small", dir / "large");
    });
    ExpectHolds(result);
}

}  // namespace
