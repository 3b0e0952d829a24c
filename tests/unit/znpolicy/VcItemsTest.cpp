#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Random.h"
#include "VcItems.h"
#include "ZnVcVek.h"

namespace {

using testing::HasSubstr;

TEST(VcItems, DescribesWhatIsWrong) {
    const struct {
        std::string list;
        std::string problem;
    } cases[] = {
        {"", "the list is shorter than 2 characters"},
        {"A@B", "item 1 (\"A@B\") has 2 fields; 7 are needed"},
        {"A@B@1@2@C@D@E,{A", "item 2 (\"{A\") begins with a separator"},
        {"A@B@1@2@C@D@" + std::string(32, 'x'), "has 32 characters; at most 31 are allowed"},
        {"a\nb@", "item 1 (\"a\\nb@\")"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(DescribeVcProblem(c.list), HasSubstr(c.problem));
    }
}

TEST(VcItems, DescribesExactlyTheListsThatTheLibraryRefuses) {
    Random random;
    size_t refused = 0;
    constexpr size_t kRounds = 20000;
    for (size_t round = 0; round < kRounds; ++round) {
        std::string list;
        for (size_t item = random.Below(4); item > 0; --item) {
            for (size_t field = random.OneIn(6) ? 6 : 7 + random.Below(2); field > 0; --field) {
                list += random.OneIn(40) ? std::string(30 + random.Below(4), 'x')
                                         : "a" + random.Text("ab", 2);
                list += random.OneOf("@@@@{}");
            }
            list += random.OneIn(8) ? ",," : ",";
        }
        if (random.OneIn(8)) {
            list = random.Text("a@{,", 30);
        }
        std::vector<VekVcItems> items;
        const bool accepted = ZnVcVek::ZnParseVekVcItems(list, items) == 0;
        ASSERT_EQ(DescribeVcProblem(list).empty(), accepted) << list;
        refused += accepted ? 0 : 1;
    }
    EXPECT_GT(refused, kRounds / 10);
    EXPECT_LT(refused, kRounds * 9 / 10);
}

TEST(VcItems, ConvertsToJson) {
    std::vector<VekVcItems> items;
    ASSERT_EQ(ZnVcVek::ZnParseVekVcItems("A@B@0x1F@ffffffff@C@D@E", items), 0);
    EXPECT_EQ(VcItemsToJson(items), Json::parse(R"([{"text1": "A", "text2": "B", "hexValue1": 31,
        "hexValue2": -1, "text3": "C", "text4": "D", "text5": "E"}])"));
}

TEST(VcItems, PrintsHexadecimalValues) {
    std::vector<VekVcItems> items;
    ASSERT_EQ(ZnVcVek::ZnParseVekVcItems("A@B@0x1F@a@C@D@E", items), 0);
    testing::internal::CaptureStdout();
    PrintVcItems(items);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "FIELD 1  FIELD 2  FIELD 3  FIELD 4  FIELD 5  FIELD 6  FIELD 7\n"
              "A        B        0x1f     0xa      C        D        E\n");
}

}  // namespace
