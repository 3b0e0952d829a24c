#include <gtest/gtest.h>

#include <string>

#include "Utf8.h"

TEST(Utf8Test, DecodesFirstCharacter) {
    struct {
        const char* text;
        char32_t code;
        std::size_t bytes;
    } const cases[] = {
        {"A", 'A', 1},
        {"\x7F", 0x7F, 1},
        {"\xC2\x80", 0x80, 2},
        {"\xDF\xBF", 0x7FF, 2},
        {"\xE0\xA0\x80", 0x800, 3},
        {"\xED\x9F\xBF", 0xD7FF, 3},
        {"\xEE\x80\x80", 0xE000, 3},
        {"\xEF\xBF\xBF", 0xFFFF, 3},
        {"\xF0\x90\x80\x80", 0x10000, 4},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 4},
        {"\xC3\xA9 and more", 0xE9, 2},
    };
    for (const auto& c : cases) {
        const Utf8Character character = FirstUtf8Character(c.text);
        EXPECT_EQ(character.bytes, c.bytes) << c.text;
        EXPECT_EQ(static_cast<unsigned>(character.code), static_cast<unsigned>(c.code)) << c.text;
    }
}

TEST(Utf8Test, DecodesNul) {
    EXPECT_EQ(FirstUtf8Character(std::string_view("\0", 1)).bytes, 1U);
}

TEST(Utf8Test, RefusesInvalidSequences) {
    for (const char* text : {"",
                             "\x80",
                             "\xBF",
                             "\xC0\x80",
                             "\xC1\xBF",
                             "\xC3",
                             "\xC3\x28",
                             "\xE0\x80\x80",
                             "\xE0\x9F\xBF",
                             "\xE2\x82",
                             "\xE2\x28\xA1",
                             "\xED\xA0\x80",
                             "\xED\xBF\xBF",
                             "\xF0\x80\x80\x80",
                             "\xF0\x8F\xBF\xBF",
                             "\xF0\x9F\x98",
                             "\xF4\x90\x80\x80",
                             "\xF5\x80\x80\x80",
                             "\xFE",
                             "\xFF"}) {
        EXPECT_EQ(FirstUtf8Character(text).bytes, 0U) << testing::PrintToString(text);
    }
}
