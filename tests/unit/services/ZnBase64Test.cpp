#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ZnCrypto.h"

namespace {

// The bytes that `text` decodes to, given room to spare.
std::string Decoded(const std::string& text) {
    std::vector<unsigned char> out(text.size() + 16);
    const int length = ZnBase64::Decode(text, out.data(), static_cast<int>(out.size()));
    return {out.begin(), out.begin() + length};
}

std::string Encoded(const std::string& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    unsigned int bits = 0;
    int count = 0;
    for (const char byte : bytes) {
        bits = bits << 8 | static_cast<unsigned char>(byte);
        for (count += 8; count >= 6; count -= 6) {
            text += kDigits[bits >> (count - 6) & 63];
        }
    }
    if (count > 0) {
        text += kDigits[bits << (6 - count) & 63];
    }
    text.append((4 - text.size() % 4) % 4, '=');
    return text;
}

std::string SomeBytes(size_t size) {
    std::string bytes(size, '\0');
    unsigned int state = 1;
    for (char& byte : bytes) {
        state = state * 1103515245 + 12345;
        byte = static_cast<char>(state >> 16);
    }
    return bytes;
}

}  // namespace

TEST(ZnBase64Test, MatchesRfc4648Examples) {
    EXPECT_EQ(Decoded(""), "");
    EXPECT_EQ(Decoded("Zg=="), "f");
    EXPECT_EQ(Decoded("Zm8="), "fo");
    EXPECT_EQ(Decoded("Zm9v"), "foo");
    EXPECT_EQ(Decoded("Zm9vYg=="), "foob");
    EXPECT_EQ(Decoded("Zm9vYmE="), "fooba");
    EXPECT_EQ(Decoded("Zm9vYmFy"), "foobar");
}

TEST(ZnBase64Test, DecodesEveryDigit) {
    EXPECT_EQ(Decoded("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"),
              std::string("\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51"
                          "\x55\x97\x61\x96\x9B\x71\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A"
                          "\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3\xDF\xBF",
                          48));
}

TEST(ZnBase64Test, DecodesBytesOfAnyLength) {
    for (const size_t size : std::initializer_list<size_t>{1, 2, 3, 4, 3070, 3071, 3072, 3073, 3074,
                                                           3075, 6144, 6145, 100000}) {
        const std::string bytes = SomeBytes(size);
        EXPECT_EQ(Decoded(Encoded(bytes)), bytes) << size;
    }
}

TEST(ZnBase64Test, SkipsLineBreaks) {
    EXPECT_EQ(Decoded("Zm9v\nYmFy"), "foobar");
    EXPECT_EQ(Decoded("Zm9v\r\nYmFy\r\n"), "foobar");
    EXPECT_EQ(Decoded("\n\nZ\rm\n9\r\nv"), "foo");
    EXPECT_EQ(Decoded("Zg=\n=\n"), "f");
    EXPECT_EQ(Decoded("\r\n"), "");
}

TEST(ZnBase64Test, DecodesLongTextInLines) {
    const std::string bytes = SomeBytes(50000);
    const std::string text = Encoded(bytes);
    std::string lines;
    for (size_t at = 0; at < text.size(); at += 76) {
        lines += text.substr(at, 76) + "\r\n";
    }

    EXPECT_EQ(Decoded(lines), bytes);
}

TEST(ZnBase64Test, RefusesTextThatIsNotBase64) {
    const std::string texts[] = {
        "Z",
        "Zg",
        "Zm8",
        "Zm9vY",
        "Zg=",
        "Z===",
        "====",
        "=",
        "==",
        "Zm9v=",
        "Zm9v==",
        "Zm9v====",
        "Zg==Zg==",
        "Zg==Zm9v",
        "Zm8=\nZg==",
        "Z=g=",
        "=Zg=",
        "Zm9v YmFy",
        " Zm9v",
        "Zm9v ",
        "Zm9v\t",
        "Zm9v-",
        "Zm9-",
        "Zm9_",
        "Zm9v.",
        "Zm9v!YmFy",
        "{\"a\":1}",
        "Zm9\xC3\xA9",
        "Zm9\xFF",
        std::string("Zm9v\0", 5),
        std::string("Zm9v\0\0\0\0", 8),
        std::string("Zm9\0", 4),
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(Decoded(text), "") << testing::PrintToString(text);
    }
}

TEST(ZnBase64Test, IgnoresUnusedBitsOfLastDigit) {
    EXPECT_EQ(Decoded("Zh=="), "f");
    EXPECT_EQ(Decoded("Zm9="), "fo");
}

TEST(ZnBase64Test, WritesNothingBeyondDecodedBytes) {
    for (const std::string bytes : {"f", "fo", "foo", "foob", "fooba"}) {
        unsigned char out[16];
        std::memset(out, '#', sizeof out);
        const int size = static_cast<int>(bytes.size());

        EXPECT_EQ(ZnBase64::Decode(Encoded(bytes), out, size), size);
        EXPECT_EQ(std::string(out, out + sizeof out),
                  bytes + std::string(sizeof out - bytes.size(), '#'));
    }
}

TEST(ZnBase64Test, RefusesNullOutput) {
    EXPECT_EQ(ZnBase64::Decode("QUJD", nullptr, 3), 0);
}

TEST(ZnBase64Test, LeavesTooSmallOutputUntouched) {
    for (const int size : {4, 3, 2, 1, 0, -1}) {
        unsigned char out[8];
        std::memset(out, '#', sizeof out);

        EXPECT_EQ(ZnBase64::Decode("Zm9vYmE=", out, size), 0) << size;
        EXPECT_EQ(std::string(out, out + sizeof out), "########") << size;
    }
}

TEST(ZnBase64Test, ChecksWholeTextBeforeWriting) {
    const std::string text = Encoded(SomeBytes(9000)) + "!";
    std::vector<unsigned char> out(10000, '#');

    EXPECT_EQ(ZnBase64::Decode(text, out.data(), static_cast<int>(out.size())), 0);
    EXPECT_EQ(out, std::vector<unsigned char>(10000, '#'));
}
