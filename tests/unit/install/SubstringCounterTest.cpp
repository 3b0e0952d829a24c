// Counting in how many texts each of many names occurs, beside strstr.
#include <gtest/gtest.h>

#include <cstring>

#include "Random.h"
#include "SubstringCounter.h"

static std::vector<size_t> Count(const std::vector<std::string>& names,
                                 const std::vector<std::string>& texts) {
    SubstringCounter counter(names);
    for (const std::string& text : texts) {
        counter.Add(text);
    }
    std::vector<size_t> counts;
    for (size_t i = 0; i < names.size(); ++i) {
        counts.push_back(counter.TextsWith(i));
    }
    return counts;
}

static std::vector<size_t> CountWithStrstr(const std::vector<std::string>& names,
                                           const std::vector<std::string>& texts) {
    std::vector<size_t> counts;
    for (const std::string& name : names) {
        size_t count = 0;
        for (const std::string& text : texts) {
            count += std::strstr(text.c_str(), name.c_str()) != nullptr ? 1 : 0;
        }
        counts.push_back(count);
    }
    return counts;
}

using Counts = std::vector<size_t>;

TEST(SubstringCounter, ANameCountsOnceForEachTextThatHoldsIt) {
    EXPECT_EQ(Count({"ab"}, {"ab", "xabx", "abab", "a b", "b", ""}), Counts({3}));
}

TEST(SubstringCounter, TheEmptyNameOccursInEveryText) {
    EXPECT_EQ(Count({""}, {"a", "", "b"}), Counts({3}));
    EXPECT_EQ(Count({"", "a"}, {}), Counts({0, 0}));
}

TEST(SubstringCounter, NamesWithinOtherNamesAreFound) {
    EXPECT_EQ(Count({"abcd", "bc", "c", "cd", "abcde"}, {"xabcdx", "bc"}), Counts({1, 2, 2, 1, 0}));
}

TEST(SubstringCounter, ANameThatOverlapsItselfIsFound) {
    EXPECT_EQ(Count({"aab", "aaa"}, {"aaaab", "aab", "aaa"}), Counts({2, 2}));
}

TEST(SubstringCounter, TheSameNameTwiceHasTheSameCount) {
    EXPECT_EQ(Count({"a", "b", "a"}, {"a", "ab"}), Counts({2, 1, 2}));
}

TEST(SubstringCounter, NamesAreBytes) {
    EXPECT_EQ(Count({"\xff\x80", "\xff"}, {"a\xff\x80", "\xff\x81", "\x7f"}), Counts({1, 2}));
    SubstringCounter counter({std::string("\0x", 2)});
    counter.Add(std::string_view("a\0x", 3));
    EXPECT_EQ(counter.TextsWith(0), 1U);
}

TEST(SubstringCounter, CountsAreThoseSoFar) {
    SubstringCounter counter({"a"});
    EXPECT_EQ(counter.TextsWith(0), 0U);
    counter.Add("a");
    EXPECT_EQ(counter.TextsWith(0), 1U);
    counter.Add("b");
    counter.Add("a");
    EXPECT_EQ(counter.TextsWith(0), 2U);
}

// With two letters, names are prefixes, ends and middles of each other all the time.
TEST(SubstringCounter, EveryNameAndTextGivesWhatStrstrGives) {
    Random random;
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::string> names(random.Below(8));
        for (std::string& name : names) {
            name = random.Text("ab", 6);
        }
        std::vector<std::string> texts(random.Below(6));
        for (std::string& text : texts) {
            text = random.Text("abb\xff", 20);
        }
        ASSERT_EQ(Count(names, texts), CountWithStrstr(names, texts))
            << testing::PrintToString(names) << " in " << testing::PrintToString(texts);
    }
}
