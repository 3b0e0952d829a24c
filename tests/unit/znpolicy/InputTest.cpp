#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "FileDescriptor.h"
#include "Input.h"
#include "TemporaryDirectory.h"

namespace {

using testing::ThrowsMessage;

constexpr size_t kMiB = size_t{1} << 20;

// RAII: standard input comes from a file.
class StandardInput {
   public:
    explicit StandardInput(const std::string& file) : saved_(dup(STDIN_FILENO)) {
        dup2(FileDescriptor::Open(file.c_str(), O_RDONLY).Get(), STDIN_FILENO);
    }
    ~StandardInput() {
        dup2(saved_.Get(), STDIN_FILENO);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

   private:
    FileDescriptor saved_;
};

TEST(Input, ReadsFile) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", std::string("a\0b\n", 4));
    EXPECT_EQ(ReadInput(directory / "file", kMiB), std::string("a\0b\n", 4));
}

TEST(Input, ReadsStandardInput) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "text");
    const StandardInput input(directory / "file");
    EXPECT_EQ(ReadInput("-", kMiB), "text");
}

TEST(Input, AcceptsInputOfExactlyTheLimit) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", std::string(kMiB, 'x'));
    EXPECT_EQ(ReadInput(directory / "file", kMiB).size(), kMiB);
    std::filesystem::resize_file(directory / "file", kMiB + 1);
    EXPECT_THAT(
        [&] { ReadInput(directory / "file", kMiB); },
        ThrowsMessage<std::runtime_error>(directory / "file: larger than the limit of 1 MiB"));
}

TEST(Input, StopsReadingAtTheLimit) {
    const TemporaryDirectory directory;
    WriteFile(directory / "huge", "");
    std::filesystem::resize_file(directory / "huge", 1024 * kMiB);
    const StandardInput input(directory / "huge");
    EXPECT_THAT(
        [&] { ReadInput("-", kMiB); },
        ThrowsMessage<std::runtime_error>("standard input: larger than the limit of 1 MiB"));
    EXPECT_LT(lseek(STDIN_FILENO, 0, SEEK_CUR), static_cast<off_t>(2 * kMiB));
}

TEST(Input, ReportsWhatCannotBeRead) {
    const TemporaryDirectory directory;
    EXPECT_THAT(
        [&] { ReadInput(directory / "missing", kMiB); },
        ThrowsMessage<std::runtime_error>(directory / "missing: No such file or directory"));
    EXPECT_THAT([&] { ReadInput(directory.Path(), kMiB); },
                ThrowsMessage<std::runtime_error>(directory.Path() + ": Is a directory"));
}

TEST(Input, TryReadInputReturnsTheReasonAlone) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "text");
    std::string contents;
    std::string reason;
    EXPECT_TRUE(TryReadInput(directory / "file", kMiB, contents, reason));
    EXPECT_EQ(contents, "text");
    EXPECT_FALSE(TryReadInput(directory / "missing", kMiB, contents, reason));
    EXPECT_EQ(reason, "No such file or directory");
}

}  // namespace
