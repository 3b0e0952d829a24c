#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Program.h"

namespace {

using testing::HasSubstr;

class VcCommands : public CommandTest {};

TEST_F(VcCommands, ParsePrintsItems) {
    const Json items = Json::parse(Output({"vc", "parse", "--json", "A@{B}@0x1F@ff@C@D@E"}));
    EXPECT_EQ(items, Json::parse(R"([{"text1": "A", "text2": "B", "hexValue1": 31,
        "hexValue2": 255, "text3": "C", "text4": "D", "text5": "E"}])"));
}

TEST_F(VcCommands, ParseReadsStandardInput) {
    const Json items =
        Json::parse(Output({"vc", "parse", "--json", "-"}, Input("A@B@1@2@C@D@E,F@G@3@4@H@I@J\n")));
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].at("text5"), "J");
}

TEST_F(VcCommands, ParseStripsOneLineEndOnly) {
    const Json items =
        Json::parse(Output({"vc", "parse", "--json", "-"}, Input("A@B@1@2@C@D@E\n\r\n")));
    EXPECT_EQ(items.at(0).at("text5"), "E\n");
}

TEST_F(VcCommands, ParseReportsItemAndField) {
    const struct {
        std::string list;
        std::string problem;
    } cases[] = {
        {"A", "the list is shorter than 2 characters"},
        {"A@B@1@2@C@D", "item 1 (\"A@B@1@2@C@D\") has 6 fields; 7 are needed"},
        {"A@B@1@2@C@D@E,{A}@B@1@2@C@D@E", "item 2 (\"{A}@B@1@2@C@D@E\") begins with a separator"},
        {"A@B@1@2@C@D@" + std::string(32, 'x'),
         "field 7 (\"" + std::string(32, 'x') + "\") has 32 characters; at most 31"},
        {"A@B@1@2@C@D@E@" + std::string(40, 'y'), "field 8"},
        {std::string(1000, 'z') + "@B", "(\"" + std::string(60, 'z') + "...\") has 2 fields"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(Failure({"vc", "parse", c.list}), HasSubstr(c.problem));
    }
}

}  // namespace
