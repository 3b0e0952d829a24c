#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "PackageError.h"
#include "RealZips.h"
#include "ZipArchive.h"
#include "ZipHeader.h"
#include "ZnCrypto.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
namespace fs = std::filesystem;

class ZipArchiveTest : public testing::Test {
   protected:
    ZipArchive Open(const std::map<std::string, std::string>& files) {
        MakeZip(zip_, files);
        return ZipArchive(zip_);
    }

    // A zip of one symbolic link.
    ZipArchive OpenLink(const std::string& target) {
        fs::create_directory(directory_ / "in");
        fs::create_symlink(target, directory_ / "in/link");
        OutputOf("cd " + directory_ / "in" + " && zip -qry " + zip_ + " .");
        return ZipArchive(zip_);
    }

    const TemporaryDirectory directory_;
    const std::string zip_ = directory_ / "x.zip";
};

TEST_F(ZipArchiveTest, FindsEntriesByNormalizedPath) {
    const ZipArchive archive = Open({{"Common/a", "A"}, {"b", "B"}});
    for (const std::string path : {"Common/a", "./Common//a", "x/../Common/a"}) {
        const ZipEntry* entry = archive.Find(path);
        ASSERT_NE(entry, nullptr) << path;
        EXPECT_EQ(entry->name, "Common/a");
        EXPECT_FALSE(entry->isLink);
        EXPECT_FALSE(entry->isDirectory);
    }
    EXPECT_EQ(archive.Find("a"), nullptr);
    ASSERT_NE(archive.Find("Common"), nullptr);
    EXPECT_TRUE(archive.Find("Common")->isDirectory);
}

TEST_F(ZipArchiveTest, DropsComponentsThatLeadOut) {
    WriteFile(directory_ / "file", "contents");
    WriteZip(zip_, {{"../../a/./b", directory_ / "file"}, {"/c", directory_ / "file"}});
    const ZipArchive archive(zip_);
    EXPECT_EQ(archive.Entries().at(0).path, "a/b");
    EXPECT_EQ(archive.Entries().at(1).path, "c");
}

TEST_F(ZipArchiveTest, FindsTheLastOfSeveralEntriesAtOnePath) {
    WriteFile(directory_ / "one", "1");
    WriteFile(directory_ / "two", "2");
    WriteZip(zip_, {{"a", directory_ / "one"}, {"./a", directory_ / "two"}});
    const ZipArchive archive(zip_);
    EXPECT_EQ(archive.Find("a"), &archive.Entries().at(1));
}

TEST_F(ZipArchiveTest, LooksWithoutWriting) {
    const std::string contents(300000, 'x');
    const ZipArchive archive = Open({{"a", contents}});
    WriteFile(directory_ / "a", contents);
    const FileFacts facts = archive.Look(*archive.Find("a"));
    EXPECT_EQ(facts.size, contents.size());
    EXPECT_EQ(facts.digest, ZnSha256::FileSha256Value(directory_ / "a"));
}

TEST_F(ZipArchiveTest, ExtractsToAFile) {
    const ZipArchive archive = Open({{"a", "contents"}});
    WriteFile(directory_ / "out", "older and longer");
    archive.Extract(*archive.Find("a"), directory_ / "out");
    EXPECT_EQ(ReadFile(directory_ / "out"), "contents");
}

TEST_F(ZipArchiveTest, ReportsFileThatCannotBeWrittenAsNoErrorOfThePackage) {
    const ZipArchive archive = Open({{"a", "contents"}});
    try {
        archive.Extract(*archive.Find("a"), directory_ / "missing/out");
        FAIL() << "not reported";
    } catch (const PackageError& error) {
        FAIL() << error.what();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), directory_ / "missing/out: No such file or directory");
    }
}

TEST_F(ZipArchiveTest, DeliversNoMoreThanTheDeclaredSize) {
    MakeZip(zip_, {{"a", std::string(32 << 20, '\0')}});
    DeclareSize(zip_, "a", 100000);
    const ZipArchive archive(zip_);
    size_t delivered = 0;
    EXPECT_THAT(
        [&] {
            archive.Read(*archive.Find("a"), [&](const char*, size_t size) { delivered += size; });
        },
        ThrowsMessage<PackageError>(zip_ +
                                    ": a: larger than the 100000 bytes that the zip declares"));
    EXPECT_LE(delivered, 100000U);
}

TEST_F(ZipArchiveTest, ReportsDamagedContents) {
    Open({{"a", "the contents of a file"}});
    std::string bytes = ReadFile(zip_);
    bytes[bytes.find("contents")] ^= 1;  // short texts are stored as they are
    WriteFile(zip_, bytes);
    const ZipArchive archive(zip_);
    EXPECT_THAT([&] { archive.Look(*archive.Find("a")); },
                ThrowsMessage<PackageError>(HasSubstr(zip_ + ": a: ")));
}

TEST_F(ZipArchiveTest, ReportsWhatIsNoZip) {
    WriteFile(zip_, "no zip");
    EXPECT_THAT([&] { ZipArchive archive(zip_); }, ThrowsMessage<PackageError>(HasSubstr(zip_)));
    EXPECT_THAT([&] { ZipArchive archive(directory_ / "missing.zip"); },
                ThrowsMessage<PackageError>(directory_ / "missing.zip: No such file"));
}

TEST_F(ZipArchiveTest, ReadsLinks) {
    const ZipArchive archive = OpenLink("target/of/link");
    const ZipEntry* link = archive.Find("link");
    ASSERT_NE(link, nullptr);
    EXPECT_TRUE(link->isLink);
    EXPECT_EQ(archive.LinkTarget(*link), "target/of/link");
}

TEST_F(ZipArchiveTest, ReadsNoMoreOfALinkThanDeclared) {
    OpenLink(std::string(3000, 'x'));
    DeclareSize(zip_, "link", 10);
    const ZipArchive archive(zip_);
    EXPECT_THAT([&] { archive.LinkTarget(*archive.Find("link")); },
                ThrowsMessage<PackageError>(HasSubstr("larger than the 10 bytes")));
}

TEST_F(ZipArchiveTest, IgnoresTargetLongerThanAnyPath) {
    OpenLink("target");
    DeclareSize(zip_, "link", 5000);
    const ZipArchive archive(zip_);
    EXPECT_EQ(archive.LinkTarget(*archive.Find("link")), "");
}

TEST_F(ZipArchiveTest, WritesZipsThatUnzipReads) {
    WriteFile(directory_ / "tool", "#!/bin/sh\n");
    fs::permissions(directory_ / "tool", fs::perms::owner_all);
    WriteZip(zip_, {{"Common/tool", directory_ / "tool"}});
    OutputOf("cd " + directory_.Path() + " && unzip -q x.zip");
    EXPECT_EQ(ReadFile(directory_ / "Common/tool"), "#!/bin/sh\n");
    EXPECT_EQ(fs::status(directory_ / "Common/tool").permissions(), fs::perms::owner_all);
}

TEST_F(ZipArchiveTest, WritesNoZipFromAMissingFile) {
    EXPECT_THROW(WriteZip(zip_, {{"a", directory_ / "missing"}}), std::runtime_error);
    EXPECT_FALSE(fs::exists(zip_));
}

}  // namespace
