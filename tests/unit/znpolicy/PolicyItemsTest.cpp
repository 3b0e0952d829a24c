#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "PolicyItems.h"

namespace {

TEST(PolicyItems, FindsItemsByTheirWholeName) {
    const std::vector<PolicyStore::Item> items = {{"A", "1"}, {"G/A", ""}};
    const PolicyItems policy(items);
    EXPECT_EQ(policy.Find("A"), items.data());
    EXPECT_EQ(policy.Find("G/A"), &items[1]);
    EXPECT_EQ(policy.Find("a"), nullptr);
    EXPECT_TRUE(policy.Has("A"));
    EXPECT_FALSE(policy.Has("G"));
}

TEST(PolicyItems, ReadsNumbersLikeTheReaders) {
    const std::vector<PolicyStore::Item> items = {{"A", " +1\n"}, {"B", "1s"}};
    const PolicyItems policy(items);
    EXPECT_EQ(policy.Number("A"), 1);
    EXPECT_EQ(policy.Number("B"), std::nullopt);
    EXPECT_EQ(policy.WhyNoNumber("B"), "B is not a number");
    EXPECT_EQ(policy.Number("C"), std::nullopt);
    EXPECT_EQ(policy.WhyNoNumber("C"), "C is missing");
}

TEST(PolicyItems, ReturnsRawTexts) {
    const std::vector<PolicyStore::Item> items = {{"A", " 1\n"}};
    const std::vector<ItemText> texts = PolicyItems(items).Texts({"A", "B"});
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0].item, "A");
    EXPECT_EQ(texts[0].text, " 1\n");
    EXPECT_EQ(texts[1].item, "B");
    EXPECT_EQ(texts[1].text, std::nullopt);
}

TEST(PolicyItems, NamesFirstItemThatIsNoNumber) {
    const std::vector<PolicyStore::Item> items = {{"A", "1"}, {"B", "x"}};
    const PolicyItems policy(items);
    EXPECT_EQ(policy.WhyNotAll({"A"}), "");
    EXPECT_EQ(policy.WhyNotAll({"A", "B", "C"}), "B is not a number");
    EXPECT_EQ(policy.WhyNotAll({"C", "B"}), "C is missing");
}

}  // namespace
