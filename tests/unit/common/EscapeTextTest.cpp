#include <gtest/gtest.h>

#include <string>

#include "EscapeText.h"

TEST(EscapeTextTest, EscapesControlCharacters) {
    struct {
        const char* text;
        const char* escaped;
    } const cases[] = {
        {"a\nb", "a\\nb"},
        {"a\r\nb", "a\\r\\nb"},
        {"a\tb", "a\\tb"},
        {"\x01\x1b[2J\x08\x1f", R"(\x01\x1b[2J\x08\x1f)"},
        {"a\x7f", "a\\x7f"},
        {"next\xC2\x85line", "next\\u0085line"},
        {"\xC2\x9B"
         "31m",
         "\\u009b31m"},
        {"a\xE2\x80\xA8"
         "b\xE2\x80\xA9",
         "a\\u2028b\\u2029"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Escaped(c.text), c.escaped);
    }
}

TEST(EscapeTextTest, EscapesCharactersThatChangeTextDirection) {
    const std::string general = "\xE2\x80";  // the first two bytes of U+2000 to U+203F
    const std::string isolates = "\xE2\x81";
    const std::string arabic = "\xD8";
    EXPECT_EQ(Escaped(general + "\xAA" + general + "\xAE"), "\\u202a\\u202e");
    EXPECT_EQ(Escaped(general + "\x8E" + general + "\x8F"), "\\u200e\\u200f");
    EXPECT_EQ(Escaped(isolates + "\xA6" + isolates + "\xA9"), "\\u2066\\u2069");
    EXPECT_EQ(Escaped(arabic + "\x9C"), "\\u061c");
}

TEST(EscapeTextTest, EscapesBytesThatAreNotUtf8) {
    struct {
        const char* text;
        const char* escaped;
    } const cases[] = {
        {"a\xFFz", "a\\xffz"},
        {"\x80", "\\x80"},
        {"\xC0\x8A", "\\xc0\\x8a"},
        {"\xE2\x80", "\\xe2\\x80"},
        {"\xE2\x80\n", R"(\xe2\x80\n)"},
        {"\xE0\x80\x8A", R"(\xe0\x80\x8a)"},
        {"\xED\xA0\x80", R"(\xed\xa0\x80)"},
        {"\xF4\x90\x80\x80", R"(\xf4\x90\x80\x80)"},
        {"\xC3\xC3\xA9", "\\xc3\xC3\xA9"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Escaped(c.text), c.escaped);
    }
}

TEST(EscapeTextTest, EscapesNul) {
    EXPECT_EQ(Escaped(std::string("a\0b", 3)), "a\\x00b");
}

TEST(EscapeTextTest, KeepsOtherCharacters) {
    for (const std::string text : {"", " a b ", R"(C:\new\table %d {} "')", "\xC3\xA9\xE2\x82\xAC",
                                   "\xC2\xA0\xED\x9F\xBF\xEF\xBF\xBD\xF0\x9F\x98\x80"}) {
        EXPECT_EQ(Escaped(text), text);
    }
}

TEST(EscapeTextTest, AppendsToLine) {
    std::string line = "before\n";
    AppendEscaped(line, "a\nb");
    EXPECT_EQ(line, "before\na\\nb");
}
