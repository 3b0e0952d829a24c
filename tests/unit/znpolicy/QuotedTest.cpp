#include <gtest/gtest.h>

#include <string>

#include "Quoted.h"

namespace {

TEST(Quoted, EscapesAndShortens) {
    EXPECT_EQ(Quoted(""), "\"\"");
    EXPECT_EQ(Quoted("a\nb"), "\"a\\nb\"");
    EXPECT_EQ(Quoted(std::string(60, 'x')), "\"" + std::string(60, 'x') + "\"");
    EXPECT_EQ(Quoted(std::string(61, 'x')), "\"" + std::string(60, 'x') + "...\"");
}

TEST(Quoted, DoesNotCutCharacters) {
    const std::string x(57, 'x');
    EXPECT_EQ(Quoted(x + "\xF0\x9F\x98\x80y"), "\"" + x + "...\"");
    EXPECT_EQ(Quoted(x + "zzz\xC3\xA4"), "\"" + x + "zzz...\"");
    EXPECT_EQ(Quoted(x + "z\xC3\xA4\xC3\xA4"), "\"" + x + "z\xC3\xA4...\"");
}

}  // namespace
