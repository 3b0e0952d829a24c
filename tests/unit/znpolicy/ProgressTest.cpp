#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "ChildProcess.h"
#include "Progress.h"
#include "PseudoTerminal.h"

namespace {

TEST(Progress, ShowsStepsAndRemovesTheBar) {
    PseudoTerminal terminal;
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    ChildProcess child([&] {
        dup2(terminal.Other().Get(), STDERR_FILENO);
        Progress progress("working", 4, std::chrono::milliseconds(1));
        progress.Step();
        char byte = 0;
        [[maybe_unused]] const ssize_t count = read(go[0], &byte, 1);
    });
    EXPECT_THAT(terminal.ShownUpTo("1/4"),
                testing::HasSubstr("working [#######.......................] 1/4"));
    ASSERT_EQ(write(go[1], "x", 1), 1);
    terminal.Other().Close();
    EXPECT_THAT(terminal.ShownUpTo("the end of the child"), testing::EndsWith("\r\x1b[K"));
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
