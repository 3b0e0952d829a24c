#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>

#include "Arguments.h"

TEST(Arguments, IsIdAcceptsCanonicalDecimalIntegers) {
    for (const std::string id : {"0", "7", "-7", "2147483647", "-2147483648"}) {
        EXPECT_EQ(IsId(id), "") << id;
    }
    for (const std::string id : {"", "-", "+7", "07", "-0", "7x", " 7", "0x7", "2147483648"}) {
        EXPECT_EQ(IsId(id), "\"" + id + "\" is not a decimal 32-bit integer");
    }
}

TEST(Arguments, NotEmptyRejectsEmptyValue) {
    EXPECT_EQ(NotEmpty("x"), "");
    EXPECT_EQ(NotEmpty(""), "must not be empty");
}

TEST(Arguments, ActionRunsOnlyAfterParsing) {
    CLI::App app;
    Context context;
    int calls = 0;
    SetAction(*app.add_subcommand("go"), context, [&] { ++calls; });
    app.parse("go");
    EXPECT_EQ(calls, 0);
    context.run();
    EXPECT_EQ(calls, 1);
}
