#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "ChildProcess.h"
#include "RedirectedStdout.h"

TEST(RedirectedStdout, DropsOutputOfAnyKindWhileItExists) {
    const ProcessResult result = RunInChild([] {
        std::cout << "before ";
        {
            const RedirectedStdout redirected;
            std::cout << "inside ";
            [[maybe_unused]] const int status = std::system("echo program; echo error >&2");
        }
        std::cout << "after" << std::flush;
    });
    EXPECT_EQ(result.out, "before after");
    EXPECT_EQ(result.err, "error\n");
}
