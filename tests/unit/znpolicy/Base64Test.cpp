#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "Base64.h"

namespace {

TEST(Base64, EncodesWithPaddingAndWithoutLineBreaks) {
    EXPECT_EQ(EncodeBase64(""), "");
    EXPECT_EQ(EncodeBase64("a"), "YQ==");
    EXPECT_EQ(EncodeBase64("ab"), "YWI=");
    EXPECT_EQ(EncodeBase64("abc"), "YWJj");
    EXPECT_EQ(EncodeBase64(std::string(1000, 'a')).find('\n'), std::string::npos);
}

TEST(Base64, EncodedTextDecodesToItself) {
    const std::string text("\0\xFF\x80z\n0123456", 12);
    for (std::size_t length = 0; length <= text.size(); ++length) {
        EXPECT_EQ(DecodeBase64(EncodeBase64(text.substr(0, length))), text.substr(0, length));
    }
}

TEST(Base64, OtherTextDecodesToNothing) {
    for (const char* text : {"", "a", "YQ=", "Y Q==", "YQ==YQ==", "{}"}) {
        EXPECT_EQ(DecodeBase64(text), "") << text;
    }
}

}  // namespace
