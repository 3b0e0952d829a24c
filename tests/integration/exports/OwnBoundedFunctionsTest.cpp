// A program that defines functions with the names of the library's bounded functions, as other
// packages do.
#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "ZnVcVek.h"

extern "C" {
__attribute__((visibility("default"))) int memset_s(void*, size_t, int, size_t) {
    ADD_FAILURE() << "the library has called the program's memset_s";
    return -1;
}
__attribute__((visibility("default"))) int strcpy_s(char*, size_t, const char*) {
    ADD_FAILURE() << "the library has called the program's strcpy_s";
    return -1;
}
}

TEST(OwnBoundedFunctions, DoNotReplaceThoseOfLibrary) {
    std::vector<VekVcItems> items;
    ASSERT_EQ(ZnVcVek::ZnParseVekVcItems("A@B@1@2@C@D@E", items), 0);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_STREQ(items[0].text1, "A");
}
