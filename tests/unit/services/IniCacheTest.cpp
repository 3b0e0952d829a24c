#include <gtest/gtest.h>

#include <map>
#include <string>

#include "IniCache.h"

namespace {

// Files in memory, whose stamps the test chooses. Counts how often one is read.
class IniCacheTest : public testing::Test {
   protected:
    struct File {
        std::string text;
        FileStamp stamp;
        bool isStable = true;
    };

    // Adds a file, or replaces one by another file.
    File& Add(const std::string& path, const std::string& text) {
        FileStamp stamp;
        stamp.inode = ++lastInode_;
        return files_[path] = {text, stamp, true};
    }

    // Opens the file and returns how often it was read for that.
    int ReadsOnOpen(const std::string& path) {
        const int before = reads_;
        EXPECT_TRUE(cache_.Open(path.c_str()));
        return reads_ - before;
    }

    std::string ValueIn(const std::string& path) {
        const auto document = cache_.Open(path.c_str());
        const char* value = document ? document->Value("s", "key") : nullptr;
        return value != nullptr ? value : "<none>";
    }

    std::map<std::string, File> files_;
    IniCache cache_{
        {[this](const char* path) -> std::optional<FileStamp> {
             const auto file = files_.find(path);
             return file != files_.end() ? std::optional(file->second.stamp) : std::nullopt;
         },
         [this](const char* path) -> std::optional<FileContents> {
             ++reads_;
             const auto file = files_.find(path);
             if (file == files_.end()) {
                 return std::nullopt;
             }
             return FileContents{file->second.text, file->second.stamp, file->second.isStable};
         }}};

   private:
    int reads_ = 0;
    ino_t lastInode_ = 0;
};

}  // namespace

TEST_F(IniCacheTest, DoesNotReadUnchangedFileAgain) {
    Add("a", "[s]\nkey=value\n");

    EXPECT_EQ(ReadsOnOpen("a"), 1);
    EXPECT_EQ(ReadsOnOpen("a"), 0);
    EXPECT_EQ(ValueIn("a"), "value");
}

TEST_F(IniCacheTest, ReadsAgainWhenStampHasChanged) {
    void (*const changes[])(FileStamp&) = {
        [](FileStamp& stamp) { ++stamp.device; },
        [](FileStamp& stamp) { ++stamp.inode; },
        [](FileStamp& stamp) { ++stamp.size; },
        [](FileStamp& stamp) { ++stamp.modified.tv_sec; },
        [](FileStamp& stamp) { ++stamp.modified.tv_nsec; },
        [](FileStamp& stamp) { ++stamp.changed.tv_sec; },
        [](FileStamp& stamp) { ++stamp.changed.tv_nsec; },
    };
    File& file = Add("a", "[s]\nkey=0\n");
    int generation = 0;
    for (const auto change : changes) {
        ValueIn("a");
        file.text = "[s]\nkey=" + std::to_string(++generation) + "\n";
        change(file.stamp);
        EXPECT_EQ(ValueIn("a"), std::to_string(generation));
    }
}

TEST_F(IniCacheTest, ReadsUnstableFileEveryTime) {
    File& file = Add("a", "[s]\nkey=old\n");
    file.isStable = false;
    EXPECT_EQ(ValueIn("a"), "old");
    file.text = "[s]\nkey=new\n";

    EXPECT_EQ(ValueIn("a"), "new");
}

TEST_F(IniCacheTest, ParsesAgainOnlyWhenTextHasChanged) {
    File& file = Add("a", "[s]\nkey=value\n");
    file.isStable = false;
    const auto document = cache_.Open("a");

    EXPECT_EQ(cache_.Open("a"), document);
    ++file.stamp.modified.tv_sec;
    EXPECT_EQ(cache_.Open("a"), document);
    file.text = "[s]\nkey=other\n";
    EXPECT_NE(cache_.Open("a"), document);
}

TEST_F(IniCacheTest, StopsReadingOnceFileIsStable) {
    File& file = Add("a", "[s]\n");
    file.isStable = false;
    EXPECT_EQ(ReadsOnOpen("a"), 1);
    file.isStable = true;
    EXPECT_EQ(ReadsOnOpen("a"), 1);
    EXPECT_EQ(ReadsOnOpen("a"), 0);
}

TEST_F(IniCacheTest, ReturnsNullForMissingDamagedOrDeletedFile) {
    EXPECT_EQ(cache_.Open("missing"), nullptr);
    Add("damaged", std::string("[s]\nkey=value\n\0", 15));
    EXPECT_EQ(cache_.Open("damaged"), nullptr);
    Add("a", "[s]\n");
    EXPECT_NE(cache_.Open("a"), nullptr);
    files_.erase("a");
    EXPECT_EQ(cache_.Open("a"), nullptr);
}

TEST_F(IniCacheTest, DropsLeastRecentlyUsedDocumentBeyondEight) {
    for (const char* path : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
        Add(path, "[s]\n");
        ReadsOnOpen(path);
    }
    ReadsOnOpen("0");
    Add("8", "[s]\n");
    ReadsOnOpen("8");

    EXPECT_EQ(ReadsOnOpen("0"), 0);
    EXPECT_EQ(ReadsOnOpen("2"), 0);
    EXPECT_EQ(ReadsOnOpen("1"), 1);
}

TEST_F(IniCacheTest, FreesDocumentsBeyond64MiBOfMemory) {
    const std::string text = "[s]\n;" + std::string(size_t{12} << 20, ' ');
    std::weak_ptr<const IniDocument> documents[3];
    for (const int i : {0, 1, 2}) {
        const std::string path = std::to_string(i);
        Add(path, text);
        documents[i] = cache_.Open(path.c_str());
    }

    EXPECT_TRUE(documents[0].expired());
    EXPECT_FALSE(documents[1].expired());
    EXPECT_FALSE(documents[2].expired());
}

TEST_F(IniCacheTest, CountsMemoryOfShortKeys) {
    std::string text = "[s]\n";
    for (int i = 0; i < 400'000; ++i) {
        text += std::to_string(i) + "=\n";
    }
    Add("0", text);
    const std::weak_ptr<const IniDocument> first = cache_.Open("0");
    Add("1", text);
    ReadsOnOpen("1");

    EXPECT_TRUE(first.expired());
}

TEST_F(IniCacheTest, FreesOldDocumentOfChangedFile) {
    File& file = Add("a", "[s]\n");
    const std::weak_ptr<const IniDocument> old = cache_.Open("a");
    file.text = "[t]\n";
    ++file.stamp.modified.tv_sec;
    ReadsOnOpen("a");

    EXPECT_TRUE(old.expired());
}
