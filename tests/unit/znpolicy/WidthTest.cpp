#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "Width.h"

namespace {

using testing::ElementsAre;

TEST(Width, BreaksLinesBetweenWords) {
    EXPECT_THAT(WrapWords("one two three", 8), ElementsAre("one two", "three"));
    EXPECT_THAT(WrapWords("one two three", 13), ElementsAre("one two three"));
    EXPECT_THAT(WrapWords("one two three", 1), ElementsAre("one", "two", "three"));
    EXPECT_THAT(WrapWords("unbreakable a", 3), ElementsAre("unbreakable", "a"));
    EXPECT_THAT(WrapWords("", 5), ElementsAre(""));
}

TEST(Width, KeepsIndentation) {
    EXPECT_THAT(WrapWords("  one two", 5), ElementsAre("  one", "two"));
}

TEST(Width, CountsCharacters) {
    EXPECT_EQ(TextWidth("\xC3\xA4\xC3\xB6"), 2U);
    EXPECT_THAT(WrapWords("\xC3\xA4\xC3\xB6 \xC3\xBC", 4),
                ElementsAre("\xC3\xA4\xC3\xB6 \xC3\xBC"));
}

TEST(Width, OfTerminalComesFromColumnsOr80) {
    setenv("COLUMNS", "40", 1);
    EXPECT_EQ(TerminalWidth(-1), 40U);
    for (const char* const invalid : {"", "0", "x", "-5"}) {
        setenv("COLUMNS", invalid, 1);
        EXPECT_EQ(TerminalWidth(-1), 80U) << invalid;
    }
    unsetenv("COLUMNS");
    EXPECT_EQ(TerminalWidth(-1), 80U);
}

}  // namespace
