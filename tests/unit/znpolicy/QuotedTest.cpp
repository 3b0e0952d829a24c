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

}  // namespace
