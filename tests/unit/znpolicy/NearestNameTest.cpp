#include <gtest/gtest.h>

#include <string>

#include "NearestName.h"

namespace {

TEST(NearestName, AllowsAThirdOfTheNameToChange) {
    EXPECT_EQ(NearestName("abcdef", {"abcdxx"}), "abcdxx");
    EXPECT_EQ(NearestName("abcdef", {"abcxxx"}), "");
    EXPECT_EQ(NearestName("abcdef", {"abcdefgh"}), "abcdefgh");
    EXPECT_EQ(NearestName("abcdef", {"bcdf"}), "bcdf");
    EXPECT_EQ(NearestName("ab", {"ac"}), "");
}

TEST(NearestName, IgnoresCase) {
    EXPECT_EQ(NearestName("PACKAGENAME", {"packageName"}), "packageName");
}

TEST(NearestName, PrefersTheNearest) {
    EXPECT_EQ(NearestName("Videos", {"Vidxx", "Video", "Audio"}), "Video");
    EXPECT_EQ(NearestName("abcx", {"abcy", "abcz"}), "abcy");
}

TEST(NearestName, NothingIsNearToNothing) {
    EXPECT_EQ(NearestName("", {"a"}), "");
    EXPECT_EQ(NearestName("name", {}), "");
    EXPECT_EQ(NearestName(std::string(1'000'000, 'a'), {"a"}), "");
}

}  // namespace
