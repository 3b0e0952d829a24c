#include <gtest/gtest.h>

#include <string>

#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

TEST(ZnCryptoContractTest, Base64IsDecoded) {
    unsigned char out[16] = {};
    EXPECT_EQ(ZnBase64::Decode("Zm9vYmE=", out, sizeof out), 5);
    EXPECT_EQ(std::string(out, out + 5), "fooba");
    EXPECT_EQ(ZnBase64::Decode("Zm9v\r\nYg==\n", out, sizeof out), 4);
    EXPECT_EQ(std::string(out, out + 4), "foob");
    EXPECT_EQ(ZnBase64::Decode("+/+/", out, sizeof out), 3);
    EXPECT_EQ(std::string(out, out + 3), "\xFB\xFF\xBF");
}

TEST(ZnCryptoContractTest, TextThatIsNotBase64IsRefused) {
    for (const char* text : {"", "Zm9", "Zm9v!", "{\"a\":1}", "Zg==Zg==", "Zm9v Zm9v"}) {
        unsigned char out[16] = {'#'};
        EXPECT_EQ(ZnBase64::Decode(text, out, sizeof out), 0) << text;
        EXPECT_EQ(out[0], '#') << text;
    }
}

TEST(ZnCryptoContractTest, NothingIsWrittenBeyondOutput) {
    unsigned char out[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(ZnBase64::Decode("Zm9vYmE=", out, 3), 0);
    EXPECT_EQ(std::string(out, out + 4), "####");
    EXPECT_EQ(ZnBase64::Decode("Zm9v", out, 3), 3);
    EXPECT_EQ(std::string(out, out + 4), "foo#");
    EXPECT_EQ(ZnBase64::Decode("Zm9v", nullptr, 3), 0);
}

TEST(ZnCryptoContractTest, DigestIsLowerCaseHexadecimal) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "abc");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "file"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    WriteFile(directory / "file", "");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "file"),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(ZnCryptoContractTest, FileThatCannotBeReadHasNoDigest) {
    const TemporaryDirectory directory;
    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "missing"), "");
    EXPECT_EQ(ZnSha256::FileSha256Value(directory.Path()), "");
}

}  // namespace
