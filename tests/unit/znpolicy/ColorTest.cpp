#include <gtest/gtest.h>

#include <sstream>

#include "Color.h"

namespace {

TEST(Color, AppearsInOtherStreamsOnlyIfAlways) {
    const std::ostringstream out;
    EXPECT_EQ(Colored(out, Color::kRed, "text"), "text");
    SetColorMode("always");
    EXPECT_EQ(Colored(out, Color::kRed, "text"), "\x1b[31mtext\x1b[0m");
    EXPECT_EQ(Colored(out, Color::kYellow, "text"), "\x1b[33mtext\x1b[0m");
    SetColorMode("never");
    EXPECT_EQ(Colored(out, Color::kRed, "text"), "text");
    SetColorMode("auto");
}

}  // namespace
