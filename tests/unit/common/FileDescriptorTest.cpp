#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "FileDescriptor.h"
#include "IsolatedCheck.h"
#include "Platform.h"
#include "SystemCallHooks.h"
#include "TemporaryDirectory.h"

namespace {

struct FileDescriptorTest : testing::Test {
    TemporaryDirectory dir;
    std::string path = dir / "file";
};

bool IsOpenDescriptor(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

// Appends to `text` what ReadBlocks() passes on.
bool ReadBlocksInto(std::string& text, const FileDescriptor& file) {
    return file.ReadBlocks([&](const char* data, std::size_t size) {
        text.append(data, size);
        return true;
    });
}

}  // namespace

TEST_F(FileDescriptorTest, ClosesOnDestruction) {
    WriteFile(path, "x");
    int number = -1;
    {
        const FileDescriptor file = FileDescriptor::Open(path.c_str(), O_RDONLY);
        number = file.Get();
        EXPECT_TRUE(IsOpenDescriptor(number));
    }
    EXPECT_FALSE(IsOpenDescriptor(number));
}

TEST_F(FileDescriptorTest, DestructionKeepsErrno) {
    errno = EXDEV;
    { const FileDescriptor broken(1 << 20); }
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(FileDescriptorTest, MovePassesOwnershipOn) {
    WriteFile(path, "x");
    FileDescriptor first = FileDescriptor::Open(path.c_str(), O_RDONLY);
    const int number = first.Get();
    FileDescriptor second(std::move(first));
    EXPECT_EQ(second.Get(), number);
    FileDescriptor third = FileDescriptor::Open(path.c_str(), O_RDONLY);
    const int replaced = third.Get();
    third = std::move(second);
    EXPECT_EQ(third.Get(), number);
    EXPECT_FALSE(IsOpenDescriptor(replaced));
    EXPECT_EQ(third.Release(), number);
    EXPECT_FALSE(third.IsOpen());
    close(number);
}

TEST_F(FileDescriptorTest, SetsErrnoWhenOpeningFails) {
    EXPECT_FALSE(FileDescriptor::Open(path.c_str(), O_RDONLY).IsOpen());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileDescriptorTest, IsNotInheritedByPrograms) {
    const FileDescriptor file = FileDescriptor::Open("/", O_RDONLY);
    EXPECT_EQ(fcntl(file.Get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(FileDescriptorTest, NeverOpensStandardDescriptor) {
    ExpectHolds(InChild([&] {
        WriteFile(path, "x");
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        const FileDescriptor reader = FileDescriptor::Open(path.c_str(), O_RDONLY);
        const FileDescriptor writer = FileDescriptor::Open(path.c_str(), O_WRONLY);
        const FileDescriptor entry = FileDescriptor::OpenAt(AT_FDCWD, path.c_str(), O_RDONLY);
        return reader.Get() > 2 && writer.Get() > 2 && entry.Get() > 2 &&
               fcntl(reader.Get(), F_GETFD) == FD_CLOEXEC && !IsOpenDescriptor(0) &&
               !IsOpenDescriptor(1) && !IsOpenDescriptor(2);
    }));
}

TEST_F(FileDescriptorTest, OutputOfOtherThreadsNeverEntersNewFile) {
    if (kThreadSanitizer) {
        GTEST_SKIP() << kNoDescriptorRaces;
    }
    ExpectHolds(InChild([&] {
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        std::atomic<bool> isDone = false;
        std::thread printer([&] {
            while (!isDone) {
                (void)(write(STDOUT_FILENO, "stray", 5) < 0);
                (void)(write(STDERR_FILENO, "stray", 5) < 0);
            }
        });
        bool isClean = true;
        for (int i = 0; i < 20'000 && isClean; ++i) {
            const auto file =
                FileDescriptor::Open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            struct stat status = {};
            isClean = fstat(file.Get(), &status) == 0 && status.st_size == 0;
        }
        isDone = true;
        printer.join();
        return isClean;
    }));
}

// Another thread's guard holds a closed descriptor at first, and gives it up at the worst moment.
TEST_F(FileDescriptorTest, OutputNeverEntersNewFileWhenDescriptorIsClosedMeanwhile) {
    if (!kLinux) {
        GTEST_SKIP() << kNoSystemCallHooks;
    }
    ExpectHolds(InChild([&] {
        const int guard = dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        systemCallHooks.beforeOpenat = [&] { close(guard); };
        systemCallHooks.afterOpenat = [](int fd) { (void)(write(fd, "stray", 5) < 0); };
        const auto file = FileDescriptor::Open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
        struct stat status = {};
        return file.Get() > STDERR_FILENO && ReadFile(path).empty() &&
               fstat(file.Get(), &status) == 0 && status.st_nlink == 1 && status.st_size == 0 &&
               !IsOpenDescriptor(STDOUT_FILENO);
    }));
}

TEST_F(FileDescriptorTest, ClosingIsNoCancellationPoint) {
    ExpectHolds(InChild([] {
        std::atomic<bool> isClosed = false;
        std::thread thread([&] {
            pthread_cancel(pthread_self());
            { const FileDescriptor file(dup(STDIN_FILENO)); }
            isClosed = true;
        });
        thread.join();
        return isClosed.load();
    }));
}

TEST_F(FileDescriptorTest, OpensRegularFilesOnly) {
    WriteFile(path, "x");
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(FileDescriptor::OpenRegularFile(path.c_str()).IsOpen());
    EXPECT_FALSE(FileDescriptor::OpenRegularFile(dir.Path().c_str()).IsOpen());
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(FileDescriptor::OpenRegularFile((dir / "pipe").c_str()).IsOpen());
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(FileDescriptorTest, ReadsAllUpToLimit) {
    const std::string contents(100'000, 'x');
    WriteFile(path, contents);
    std::string text = "before ";
    EXPECT_TRUE(FileDescriptor::OpenRegularFile(path.c_str()).ReadAll(text, contents.size()));
    EXPECT_EQ(text, "before " + contents);
    text.clear();
    EXPECT_FALSE(FileDescriptor::OpenRegularFile(path.c_str()).ReadAll(text, contents.size() - 1));
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(FileDescriptorTest, StopsReadingEndlessFileAtLimit) {
    std::string text;
    EXPECT_FALSE(FileDescriptor::Open("/dev/zero", O_RDONLY).ReadAll(text, 1'000'000));
    EXPECT_LE(text.size(), 1'000'000U);
}

TEST_F(FileDescriptorTest, ReadsBlocksOfWholeFile) {
    for (const std::size_t size : {0U, 1U, 65'536U, 200'000U}) {
        const std::string contents(size, 'x');
        WriteFile(path, contents);
        std::string text;
        EXPECT_TRUE(ReadBlocksInto(text, FileDescriptor::OpenRegularFile(path.c_str())));
        EXPECT_EQ(text, contents);
    }
}

TEST_F(FileDescriptorTest, ReadingBlocksFailsWhenFileChangesSize) {
    for (const off_t newSize : {100'000, 300'000}) {
        WriteFile(path, std::string(200'000, 'x'));
        const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
        EXPECT_FALSE(file.ReadBlocks([&](const char*, std::size_t) {
            return truncate(path.c_str(), newSize) == 0;
        })) << newSize;
    }
}

TEST_F(FileDescriptorTest, ReadingBlocksOfFileThatKeepsGrowingEnds) {
    WriteFile(path, "x");
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    const FileDescriptor writer = FileDescriptor::Open(path.c_str(), O_WRONLY | O_APPEND);
    int blocks = 0;
    EXPECT_FALSE(file.ReadBlocks([&](const char*, std::size_t) {
        ++blocks;
        return writer.Write("more", 4) == 4;
    }));
    EXPECT_EQ(blocks, 1);
}

TEST_F(FileDescriptorTest, ReadingBlocksStopsWhenConsumerFails) {
    WriteFile(path, std::string(200'000, 'x'));
    int blocks = 0;
    EXPECT_FALSE(
        FileDescriptor::OpenRegularFile(path.c_str()).ReadBlocks([&](const char*, std::size_t) {
            return ++blocks > 1;
        }));
    EXPECT_EQ(blocks, 1);
}

TEST_F(FileDescriptorTest, WritesEverythingOrReportsHowMuch) {
    const FileDescriptor file = FileDescriptor::Open(path.c_str(), O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(file.Write("contents", 8), 8);
    EXPECT_EQ(ReadFile(path), "contents");
    EXPECT_EQ(FileDescriptor::Open(path.c_str(), O_RDONLY).Write("x", 1), 0);
}
