#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

const std::string kDigestOfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

std::string DigestOf(const std::string& contents) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", contents);
    return ZnSha256::FileSha256Value(directory / "file");
}

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

TEST(ZnSha256Test, DigestsAreThoseOfFips180) {
    EXPECT_EQ(DigestOf("abc"), kDigestOfAbc);
    EXPECT_EQ(DigestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(DigestOf("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                       "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu"),
              "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
}

TEST(ZnSha256Test, EmptyFileHasADigest) {
    EXPECT_EQ(DigestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(ZnSha256Test, FileLargerThanAnyBufferIsDigestedWhole) {
    EXPECT_EQ(DigestOf(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(ZnSha256Test, MemoryDoesNotGrowWithTheFile) {
    const TemporaryDirectory directory;
    WriteFile(directory / "sparse", "");
    std::filesystem::resize_file(directory / "sparse", 134217728);

    const ProcessResult outcome = RunInChild([&] {
        WriteFile(directory / "small", "abc");
        ZnSha256::FileSha256Value(directory / "small");
        rusage before = {};
        getrusage(RUSAGE_SELF, &before);
        puts(ZnSha256::FileSha256Value(directory / "sparse").c_str());
        rusage after = {};
        getrusage(RUSAGE_SELF, &after);
        const long kibibytes = 1024;  // in units of ru_maxrss
        puts(after.ru_maxrss - before.ru_maxrss < 2 * kibibytes ? "steady" : "grown");
    });

    EXPECT_EQ(outcome.out,
              "254bcc3fc4f27172636df4bf32de9f107f620d559b20d760197e452b97453917\nsteady\n");
}

TEST(ZnSha256Test, NamesAreUsedAsTheyStand) {
    const TemporaryDirectory directory;
    for (const char* name : {"with blank", "\xC3\xA4\xE2\x82\xAC", "a'b\"c$d", "-n"}) {
        WriteFile(directory / name, "abc");
        EXPECT_EQ(ZnSha256::FileSha256Value(directory / name), kDigestOfAbc) << name;
    }
}

TEST(ZnSha256Test, LinkIsFollowed) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "abc");
    std::filesystem::create_symlink("file", directory / "link");

    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "link"), kDigestOfAbc);
}

TEST(ZnSha256Test, WhatIsNoReadableFileHasNoDigest) {
    const TemporaryDirectory directory;
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("nowhere", directory / "dangling");

    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "missing"), "");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "dangling"), "");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory.Path()), "");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "pipe"), "");
    EXPECT_EQ(ZnSha256::FileSha256Value("/dev/zero"), "");
    EXPECT_EQ(ZnSha256::FileSha256Value(""), "");
}

TEST(ZnSha256Test, NameIsNotCutAtANul) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "abc");

    EXPECT_EQ(ZnSha256::FileSha256Value((directory / "file") + std::string("\0.zip", 5)), "");
}

TEST(ZnSha256Test, FileWithoutReadPermissionHasNoDigest) {
    const TemporaryDirectory directory;
    WriteFile(directory / "secret", "abc");
    chmod((directory / "secret").c_str(), 0);
    chmod(directory.Path().c_str(), 0755);

    const ProcessResult outcome = RunInChild([&] {
        const uid_t nobody = 65534;
        if (geteuid() == 0 && seteuid(nobody) != 0) {
            exit(1);
        }
        printf("<%s>", ZnSha256::FileSha256Value(directory / "secret").c_str());
    });

    EXPECT_EQ(outcome.out, "<>");
}

#ifdef __linux__
TEST(ZnSha256Test, FileWhoseReadingFailsHasNoDigest) {
    EXPECT_EQ(ZnSha256::FileSha256Value("/proc/self/mem"), "");
}
#endif

TEST(ZnBase64Test, TextsDecodeAsInRfc4648) {
    EXPECT_EQ(Decoded(""), "");
    EXPECT_EQ(Decoded("Zg=="), "f");
    EXPECT_EQ(Decoded("Zm8="), "fo");
    EXPECT_EQ(Decoded("Zm9v"), "foo");
    EXPECT_EQ(Decoded("Zm9vYg=="), "foob");
    EXPECT_EQ(Decoded("Zm9vYmE="), "fooba");
    EXPECT_EQ(Decoded("Zm9vYmFy"), "foobar");
}

TEST(ZnBase64Test, EveryDigitHasItsValue) {
    EXPECT_EQ(Decoded("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"),
              std::string("\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51"
                          "\x55\x97\x61\x96\x9B\x71\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A"
                          "\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3\xDF\xBF",
                          48));
}

TEST(ZnBase64Test, BytesOfEveryLengthComeBack) {
    for (const size_t size : {1, 2, 3, 4, 3070, 3071, 3072, 3073, 3074, 3075, 6144, 6145, 100000}) {
        const std::string bytes = SomeBytes(size);
        EXPECT_EQ(Decoded(Encoded(bytes)), bytes) << size;
    }
}

TEST(ZnBase64Test, LineBreaksAreSkipped) {
    EXPECT_EQ(Decoded("Zm9v\nYmFy"), "foobar");
    EXPECT_EQ(Decoded("Zm9v\r\nYmFy\r\n"), "foobar");
    EXPECT_EQ(Decoded("\n\nZ\rm\n9\r\nv"), "foo");
    EXPECT_EQ(Decoded("Zg=\n=\n"), "f");
    EXPECT_EQ(Decoded("\r\n"), "");
}

TEST(ZnBase64Test, LongTextInLinesDecodesWhole) {
    const std::string bytes = SomeBytes(50000);
    const std::string text = Encoded(bytes);
    std::string lines;
    for (size_t at = 0; at < text.size(); at += 76) {
        lines += text.substr(at, 76) + "\r\n";
    }

    EXPECT_EQ(Decoded(lines), bytes);
}

TEST(ZnBase64Test, WhatIsNotBase64DecodesToNothing) {
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

TEST(ZnBase64Test, BitsLeftOverInTheLastDigitAreNotLookedAt) {
    EXPECT_EQ(Decoded("Zh=="), "f");
    EXPECT_EQ(Decoded("Zm9="), "fo");
}

TEST(ZnBase64Test, NothingIsWrittenBeyondTheDecodedBytes) {
    for (const std::string bytes : {"f", "fo", "foo", "foob", "fooba"}) {
        unsigned char out[16];
        std::memset(out, '#', sizeof out);
        const int size = static_cast<int>(bytes.size());

        EXPECT_EQ(ZnBase64::Decode(Encoded(bytes), out, size), size);
        EXPECT_EQ(std::string(out, out + sizeof out),
                  bytes + std::string(sizeof out - bytes.size(), '#'));
    }
}

TEST(ZnBase64Test, WithoutOutputNothingIsDecoded) {
    EXPECT_EQ(ZnBase64::Decode("QUJD", nullptr, 3), 0);
}

TEST(ZnBase64Test, TooSmallOutputIsLeftAlone) {
    for (const int size : {4, 3, 2, 1, 0, -1}) {
        unsigned char out[8];
        std::memset(out, '#', sizeof out);

        EXPECT_EQ(ZnBase64::Decode("Zm9vYmE=", out, size), 0) << size;
        EXPECT_EQ(std::string(out, out + sizeof out), "########") << size;
    }
}

TEST(ZnBase64Test, WholeTextIsJudgedBeforeAnythingIsWritten) {
    const std::string text = Encoded(SomeBytes(9000)) + "!";
    std::vector<unsigned char> out(10000, '#');

    EXPECT_EQ(ZnBase64::Decode(text, out.data(), static_cast<int>(out.size())), 0);
    EXPECT_EQ(out, std::vector<unsigned char>(10000, '#'));
}
