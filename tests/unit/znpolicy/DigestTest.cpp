#include <gtest/gtest.h>

#include "Digest.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

TEST(Digest, OfNothing) {
    EXPECT_EQ(Digest().Finish(),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(Digest, EqualsThatOfAFileHoweverDataIsSplit) {
    const TemporaryDirectory directory;
    const std::string data(100000, 'x');
    WriteFile(directory / "file", data);
    for (const size_t piece : {size_t{1}, size_t{63}, size_t{64}, size_t{70000}, data.size()}) {
        Digest digest;
        for (size_t at = 0; at < data.size(); at += piece) {
            digest.Add(&data[at], std::min(piece, data.size() - at));
        }
        EXPECT_EQ(digest.Finish(), ZnSha256::FileSha256Value(directory / "file")) << piece;
    }
}
