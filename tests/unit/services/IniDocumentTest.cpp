#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "IniDocument.h"
#include "IsolatedCheck.h"
#include "Platform.h"

TEST(IniDocumentTest, FindsValuesAndKeysBySection) {
    const auto document = IniDocument::Parse("[a]\nx=1\ny=2\n[b]\nx=3\n");
    ASSERT_TRUE(document);
    EXPECT_STREQ(document->Value("a", "x"), "1");
    EXPECT_STREQ(document->Value("b", "x"), "3");
    EXPECT_EQ(document->Value("b", "y"), nullptr);
    EXPECT_EQ(document->Value("c", "x"), nullptr);
    EXPECT_THAT(document->Keys("a"), testing::ElementsAre("x", "y"));
    EXPECT_THAT(document->Keys("c"), testing::IsEmpty());
}

TEST(IniDocumentTest, SectionWithoutKeysExists) {
    const auto document = IniDocument::Parse("[empty]\n");
    ASSERT_TRUE(document);
    EXPECT_TRUE(document->HasSection("empty"));
    EXPECT_FALSE(document->HasSection("Empty"));
    EXPECT_FALSE(document->HasSection(""));
}

TEST(IniDocumentTest, KeepsParsedText) {
    EXPECT_EQ(IniDocument::Parse("[s]\r\nkey=1")->Text(), "[s]\r\nkey=1");
}

TEST(IniDocumentTest, MemorySizeCoversWhatParsingTakes) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes more";
#endif
    ExpectHolds(InChild([] {
        std::string text = "[s]\n";
        for (int i = 0; i < 300'000; ++i) {
            text += std::to_string(i) + "=\n";
        }
        const auto size = static_cast<long long>(text.size());
        const long long before = PeakMemoryBytes() - size;
        const auto document = IniDocument::Parse(std::move(text));
        const long long used = PeakMemoryBytes() - before;
        const auto estimate = static_cast<long long>(document->MemorySize());
        return used > size && used < estimate;
    }));
}

TEST(IniDocumentTest, RefusesNulByte) {
    EXPECT_EQ(IniDocument::Parse(std::string("[s]\0", 4)), nullptr);
    EXPECT_NE(IniDocument::Parse(""), nullptr);
}
