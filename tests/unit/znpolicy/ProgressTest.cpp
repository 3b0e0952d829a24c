#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>

#include "ChildProcess.h"
#include "FileDescriptor.h"
#include "Progress.h"

namespace {

// Reads from a terminal until `text` has been shown.
std::string ShownUpTo(const FileDescriptor& terminal, const std::string& text) {
    std::string shown;
    std::array<char, 64> buffer = {};
    while (shown.find(text) == std::string::npos) {
        const ssize_t count = terminal.Read(buffer.data(), buffer.size());
        if (count <= 0) {
            break;
        }
        shown.append(buffer.data(), static_cast<size_t>(count));
    }
    return shown;
}

class ProgressOnTerminal : public testing::Test {
   protected:
    ProgressOnTerminal() : terminal_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (grantpt(terminal_.Get()) == 0 && unlockpt(terminal_.Get()) == 0) {
            other_ = FileDescriptor::Open(ptsname(terminal_.Get()), O_RDWR | O_NOCTTY);
        }
    }

    FileDescriptor terminal_;
    FileDescriptor other_;
};

TEST_F(ProgressOnTerminal, ShowsStepsAndRemovesTheBar) {
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    ChildProcess child([&] {
        dup2(other_.Get(), STDERR_FILENO);
        Progress progress("working", 4, std::chrono::milliseconds(1));
        progress.Step();
        char byte = 0;
        [[maybe_unused]] const ssize_t count = read(go[0], &byte, 1);
    });
    EXPECT_THAT(ShownUpTo(terminal_, "1/4"),
                testing::HasSubstr("working [#######.......................] 1/4"));
    ASSERT_EQ(write(go[1], "x", 1), 1);
    other_.Close();
    EXPECT_THAT(ShownUpTo(terminal_, "the end of the child"), testing::EndsWith("\r\x1b[K"));
    EXPECT_TRUE(child.Wait().Succeeded());
    close(go[0]);
    close(go[1]);
}

TEST(Progress, ShowsNothingWithoutTerminal) {
    const ProcessResult result = RunInChild([] {
        Progress progress("working", 1);
        progress.Step();
    });
    EXPECT_TRUE(result.Succeeded());
    EXPECT_EQ(result.err, "");
}

}  // namespace
