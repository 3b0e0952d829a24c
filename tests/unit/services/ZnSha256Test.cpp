#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "IsolatedCheck.h"
#include "Platform.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

const std::string kDigestOfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

std::string DigestOf(const std::string& contents) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", contents);
    return ZnSha256::FileSha256Value(directory / "file");
}

}  // namespace

TEST(ZnSha256Test, MatchesFips180Examples) {
    EXPECT_EQ(DigestOf("abc"), kDigestOfAbc);
    EXPECT_EQ(DigestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(DigestOf("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                       "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu"),
              "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
}

TEST(ZnSha256Test, EmptyFileHasDigest) {
    EXPECT_EQ(DigestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(ZnSha256Test, HashesFileLargerThanItsBuffer) {
    EXPECT_EQ(DigestOf(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(ZnSha256Test, MemoryUseDoesNotDependOnFileSize) {
    const TemporaryDirectory directory;
    WriteFile(directory / "sparse", "");
    std::filesystem::resize_file(directory / "sparse", 134217728);

    const ProcessResult outcome = RunInChild([&] {
        WriteFile(directory / "small", "abc");
        ZnSha256::FileSha256Value(directory / "small");
        const long long before = PeakMemoryBytes();
        puts(ZnSha256::FileSha256Value(directory / "sparse").c_str());
        puts(PeakMemoryBytes() - before < (2 << 20) ? "steady" : "grown");
    });

    EXPECT_EQ(outcome.out,
              "254bcc3fc4f27172636df4bf32de9f107f620d559b20d760197e452b97453917\nsteady\n");
}

TEST(ZnSha256Test, AcceptsAnyFileName) {
    const TemporaryDirectory directory;
    for (const char* name : {"with blank", "\xC3\xA4\xE2\x82\xAC", "a'b\"c$d", "-n"}) {
        WriteFile(directory / name, "abc");
        EXPECT_EQ(ZnSha256::FileSha256Value(directory / name), kDigestOfAbc) << name;
    }
}

TEST(ZnSha256Test, FollowsLink) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "abc");
    std::filesystem::create_symlink("file", directory / "link");

    EXPECT_EQ(ZnSha256::FileSha256Value(directory / "link"), kDigestOfAbc);
}

TEST(ZnSha256Test, OtherThanRegularFileHasNoDigest) {
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

TEST(ZnSha256Test, PathWithNulByteHasNoDigest) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "abc");

    EXPECT_EQ(ZnSha256::FileSha256Value((directory / "file") + std::string("\0.zip", 5)), "");
}

TEST(ZnSha256Test, FileWithoutReadPermissionHasNoDigest) {
    const TemporaryDirectory directory;
    WriteFile(directory / "secret", "abc");
    chmod((directory / "secret").c_str(), 0);

    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory.Path());
        return ZnSha256::FileSha256Value(directory / "secret").empty();
    }));
}

TEST(ZnSha256Test, FileThatFailsWhileReadHasNoDigest) {
    if (!kLinux) {
        GTEST_SKIP() << "this system has no file that can be opened but not read";
    }
    EXPECT_EQ(ZnSha256::FileSha256Value("/proc/self/mem"), "");
}
