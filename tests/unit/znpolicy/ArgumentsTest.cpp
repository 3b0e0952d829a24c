#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "PolicyStore.h"

TEST(Arguments, IsIdAcceptsCanonicalDecimalIntegers) {
    for (const std::string id : {"0", "7", "-7", "2147483647", "-2147483648"}) {
        EXPECT_EQ(IsId(id), "") << id;
    }
    for (const std::string id : {"", "-", "+7", "07", "-0", "7x", " 7", "0x7", "2147483648"}) {
        EXPECT_EQ(
            IsId(id),
            "\"" + id +
                "\" is not an id: a decimal 32-bit integer without leading zeros or plus sign");
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

TEST(Arguments, IdsCanBeSeveral) {
    CLI::App app;
    std::vector<int> ids;
    AddIdsArgument(app, ids, "");
    app.parse("5 -6 7");
    EXPECT_EQ(ids, (std::vector<int>{5, -6, 7}));
    EXPECT_THROW(app.parse("5 x"), CLI::ParseError);
    EXPECT_THROW(app.parse(""), CLI::ParseError);
}

TEST(Arguments, ForEachIdReportsStoreErrorsAndContinues) {
    Context context;
    std::vector<int> called;
    testing::internal::CaptureStderr();
    ForEachId({5, 6, 7}, context, [&](int id) {
        called.push_back(id);
        if (id == 6) {
            throw PolicyStore::Error("no\n6");
        }
    });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "znpolicy: no\\n6\n");
    EXPECT_EQ(called, (std::vector<int>{5, 6, 7}));
    EXPECT_EQ(context.status, 1);
}

TEST(Arguments, ForEachIdReportsDetails) {
    Context context;
    context.json = true;
    testing::internal::CaptureStderr();
    ForEachId({5}, context, [](int) { throw CommandError("no", {{"suggestion", "a"}}); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "{\"error\":{\"code\":\"failed\",\"message\":\"no\",\"suggestion\":\"a\"}}\n");
    EXPECT_EQ(context.status, 1);
}

TEST(Arguments, SecondsToWaitAreNotNegative) {
    CLI::App app;
    int seconds = 0;
    AddWaitOption(app, seconds);
    app.parse("--wait 7");
    EXPECT_EQ(seconds, 7);
    for (const std::string wrong : {"--wait=-1", "--wait x"}) {
        try {
            app.parse(wrong);
            ADD_FAILURE() << wrong;
        } catch (const CLI::ValidationError& error) {
            EXPECT_NE(std::string(error.what()).find("not in range 0 to 2147483647"),
                      std::string::npos)
                << error.what();
        }
    }
}

TEST(Arguments, ForEachIdLeavesStatusOfSuccess) {
    Context context;
    ForEachId({5}, context, [](int) {});
    EXPECT_EQ(context.status, 0);
    EXPECT_THROW(ForEachId({5}, context, [](int) { throw std::runtime_error("other"); }),
                 std::runtime_error);
}
