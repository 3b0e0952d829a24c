#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PluginListCheck.h"

namespace {

const std::string kGood = "A@B@1@2@C@D@E";

TEST(PluginListCheck, CorrectListsHaveNoProblem) {
    for (const std::string& list :
         {kGood, kGood + ",," + kGood + ",", std::string("A@{B}@0x1F@-ff@C@D@E@eighth"),
          std::string("A@B@ 1@FFFFFFFF@C@D@" + std::string(31, 'x'))}) {
        EXPECT_TRUE(CheckPluginList(list).problems.empty()) << list;
    }
    EXPECT_EQ(CheckPluginList(kGood + ",," + kGood + ",").plugins, 2U);
}

TEST(PluginListCheck, ProblemsThatMakeTheListFail) {
    const struct {
        std::string list;
        std::size_t offset;
        std::string message;
    } cases[] = {
        {"", 0, "the list is shorter than 2 characters"},
        {"A", 0, "the list is shorter than 2 characters"},
        {kGood + ",A@B@1@2@C@D", 14, "item 2 (\"A@B@1@2@C@D\") has 6 fields; 7 are needed"},
        {"{A}@B@1@2@C@D@E", 0,
         "item 1 (\"{A}@B@1@2@C@D@E\") begins with a separator, so it has no fields"},
        {"A@B@1@2@C@D@" + std::string(32, 'x'), 12,
         "item 1 (\"A@B@1@2@C@D@" + std::string(32, 'x') + "\"), field 7 (\"" +
             std::string(32, 'x') + "\") has 32 characters; at most 31 are allowed"},
    };
    for (const auto& wrong : cases) {
        const PluginListReport report = CheckPluginList(wrong.list);
        ASSERT_NE(report.Failure(), nullptr) << wrong.list;
        EXPECT_EQ(report.Failure()->offset, wrong.offset) << wrong.list;
        EXPECT_EQ(report.Failure()->message, wrong.message);
        EXPECT_EQ(report.plugins, 0U);
    }
}

TEST(PluginListCheck, LeadingCommaEmptiesTheList) {
    const PluginListReport report = CheckPluginList("," + kGood);
    ASSERT_EQ(report.problems.size(), 1U);
    EXPECT_EQ(report.Failure(), nullptr);
    EXPECT_EQ(report.plugins, 0U);
}

TEST(PluginListCheck, OddHexadecimalFieldsAreReported) {
    for (const std::string field : {"G", "0xG", "1h", "1 ", "1FFFFFFFF", "-80000001", "x"}) {
        const PluginListReport report = CheckPluginList("A@B@1@" + field + "@C@D@E");
        ASSERT_EQ(report.problems.size(), 1U) << field;
        EXPECT_EQ(report.problems[0].offset, 6U) << field;
        EXPECT_EQ(report.Failure(), nullptr) << field;
        EXPECT_EQ(report.plugins, 1U) << field;
    }
}

TEST(PluginListCheck, EveryItemIsChecked) {
    EXPECT_EQ(CheckPluginList("A@B,A@B@x@y@C@D@E,A@B").problems.size(), 4U);
}

TEST(PluginListCheck, ReportIsBoundedButNamesTheFailure) {
    std::string list;
    for (int i = 0; i < 2000; ++i) {
        list += "A@B@x@2@C@D@E,";
    }
    const PluginListReport odd = CheckPluginList(list);
    EXPECT_EQ(odd.problems.size(), 1001U);
    EXPECT_EQ(odd.problems.back().message, "more problems follow that are not reported");
    EXPECT_EQ(odd.plugins, 2000U);
    const PluginListReport failing = CheckPluginList(list + "A@B,A@B");
    EXPECT_EQ(failing.problems.size(), 1002U);
    ASSERT_NE(failing.Failure(), nullptr);
    EXPECT_EQ(failing.Failure()->offset, list.size());
}

}  // namespace
