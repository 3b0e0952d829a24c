#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PolicyDiff.h"

namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Optional;

constexpr auto kNone = std::nullopt;

TEST(PolicyDiff, OrdersRemovedAndChangedBeforeAdded) {
    EXPECT_THAT(ComparePolicies({{"Z", "1"}, {"Gone", ""}, {"A", "2"}},
                                {{"New", ""}, {"A", ""}, {"Z", "x"}}),
                ElementsAre(FieldsAre("Z", Optional(std::string("1")), Optional(std::string("x"))),
                            FieldsAre("Gone", Optional(std::string()), kNone),
                            FieldsAre("A", Optional(std::string("2")), Optional(std::string())),
                            FieldsAre("New", kNone, Optional(std::string()))));
}

TEST(PolicyDiff, IgnoresOrder) {
    EXPECT_THAT(ComparePolicies({{"A", "1"}, {"B", "2"}}, {{"B", "2"}, {"A", "1"}}), IsEmpty());
}

TEST(PolicyDiff, ComparesNamesAndValuesExactly) {
    EXPECT_EQ(ComparePolicies({{"A", "1"}}, {{"A", "1 "}}).size(), 1U);
    EXPECT_EQ(ComparePolicies({{"A", "1"}}, {{"a", "1"}}).size(), 2U);
    EXPECT_EQ(ComparePolicies({{"A", "1"}}, {{"A", "1"}, {"A/B", "1"}}).size(), 1U);
}

}  // namespace
