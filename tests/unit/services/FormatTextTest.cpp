#include <gtest/gtest.h>

#include <string>

#include "FormatText.h"

namespace {

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatText(format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace

TEST(FormatTextTest, FormatsLikePrintf) {
    EXPECT_EQ(Format("id=%d,%s", 7, "x"), "id=7,x");
    EXPECT_EQ(Format("%s", ""), "");
}

TEST(FormatTextTest, FormatsTextOfAnyLength) {
    for (const size_t size : std::initializer_list<size_t>{1022, 1023, 1024, 1025, 100'000}) {
        const std::string text(size, 'x');
        EXPECT_EQ(Format("%s", text.c_str()), text) << size;
    }
}
