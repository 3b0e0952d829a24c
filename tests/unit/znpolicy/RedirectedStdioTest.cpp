#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "ChildProcess.h"
#include "RedirectedStdio.h"

TEST(RedirectedStdio, DropsOutputOfAnyKindWhileItExists) {
    const ProcessResult result = RunInChild([] {
        std::cout << "before ";
        {
            const RedirectedStdio redirected;
            std::cout << "inside ";
            // As the library runs unzip.
            [[maybe_unused]] const int status = std::system("echo program; echo error >&2");
        }
        std::cout << "after" << std::flush;
    });
    EXPECT_EQ(result.out, "before after");
    EXPECT_EQ(result.err, "error\n");
}

TEST(RedirectedStdio, GivesNoInputWhileItExists) {
    ProcessOptions options;
    options.input = "input";
    const ProcessResult result = RunInChild(
        [] {
            char byte = 0;
            {
                const RedirectedStdio redirected;
                std::cerr << read(STDIN_FILENO, &byte, 1);
            }
            std::cerr << read(STDIN_FILENO, &byte, 1) << byte;
        },
        options);
    EXPECT_EQ(result.err, "01i");
}
