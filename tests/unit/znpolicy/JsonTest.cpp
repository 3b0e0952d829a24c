#include <gtest/gtest.h>

#include <algorithm>

#include "DirectionCharacters.h"
#include "Json.h"

namespace {

std::string Printed(const Json& document) {
    testing::internal::CaptureStdout();
    PrintJson(document);
    return testing::internal::GetCapturedStdout();
}

TEST(Json, KeepsMemberOrder) {
    EXPECT_EQ(Printed({{"b", 1}, {"a", 2}}), "{\n  \"b\": 1,\n  \"a\": 2\n}\n");
}

TEST(Json, PrintsAsciiThatMeansTheSame) {
    const std::string text =
        "\xC3\xA4" + RightToLeftOverride() + LineSeparator() + "\x7F\x1B\xC2\x85\xF0\x9F\x98\x80";
    const std::string printed = Printed(text);
    EXPECT_TRUE(std::all_of(printed.begin(), printed.end(), [](char c) {
        return c == '\n' || (c >= ' ' && c < '\x7F');
    })) << printed;
    EXPECT_EQ(Json::parse(printed), text);
}

TEST(Json, ReplacesInvalidUtf8) {
    EXPECT_EQ(Printed("a\xFF"), "\"a\\ufffd\"\n");
}

}  // namespace
