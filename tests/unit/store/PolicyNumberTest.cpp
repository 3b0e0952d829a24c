#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "PolicyNumber.h"

namespace {

TEST(PolicyNumberTest, ConvertsDecimalNumbers) {
    const std::pair<const char*, int> cases[] = {
        {"0", 0},
        {"-0", 0},
        {"007", 7},
        {"+7", 7},
        {" \t\r\n-7\n ", -7},
        {"2147483647", 2147483647},
        {"-2147483648", -2147483647 - 1},
    };
    for (const auto& [text, number] : cases) {
        EXPECT_EQ(PolicyNumber(text), number) << text;
    }
}

TEST(PolicyNumberTest, RefusesOtherText) {
    for (const char* text : {"", " ", "+", "-", "+-7", "-+7", "--7", "7 7", "30s", "60%", "0x1E",
                             "1.5", "1e3", "\v7", "7\xC2\xA0", "2147483648", "-2147483649"}) {
        EXPECT_EQ(PolicyNumber(text), std::nullopt) << text;
    }
}

}  // namespace
