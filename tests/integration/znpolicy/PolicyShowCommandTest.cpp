#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "PolicyFile.h"
#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PolicyShowCommand : public CommandTest {};

TEST_F(PolicyShowCommand, ReportsMissingItem) {
    Publish("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(Failure({"policy", "show", "5", "B"}), "znpolicy: policy 5 has no item \"B\"\n");
}

TEST_F(PolicyShowCommand, SuggestsNearestItemOfThePolicy) {
    Publish("5", "<Policy><Group><Value>1</Value></Group></Policy>");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "show", "5", "Group/Valu"},
                                               {"policy", "show", "5", "--item", "Group/Valu"}}) {
        EXPECT_EQ(Failure(arguments),
                  "znpolicy: policy 5 has no item \"Group/Valu\"; did you mean \"Group/Value\"?\n");
    }
}

TEST_F(PolicyShowCommand, PrintsNoTableWhereNoPolicyCanBeShown) {
    Publish("5", "<Policy><A>1</A></Policy>");
    const ProcessResult result = Run({"policy", "show", "99", "98"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out, "");
}

TEST_F(PolicyShowCommand, ReportsDamagedPolicy) {
    WriteFile(store_ + "/5.cdb", "damaged");
    EXPECT_EQ(Failure({"policy", "show", "5"}),
              "znpolicy: not a policy file, or a damaged one: " + store_ + "/5.cdb\n");
}

TEST_F(PolicyShowCommand, ShowsItemRawTableEscapedAndJsonExact) {
    const std::string value = " two\nlines\t\xC3\xA4 \\ \"\xC2\x85 ";
    Publish("5", "<Policy><Group><A>" + value + "</A></Group></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5", "Group/A"}), value + "\n");
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM     VALUE\n"
              "Group/A   two\\nlines\\t\xC3\xA4 \\ \"\\u0085\n");
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "--json"})), Json({{"Group/A", value}}));
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "Group/A", "--json"})), Json(value));
}

TEST_F(PolicyShowCommand, ShowsItemsInPublishedOrder) {
    Publish("5", "<Policy><Z>1</Z><A>2</A><M>3</M></Policy>");
    std::vector<std::string> keys;
    const Json shown = Json::parse(Output({"policy", "show", "5", "--json"}));
    for (const auto& item : shown.items()) {
        keys.push_back(item.key());
    }
    EXPECT_THAT(keys, ElementsAre("Z", "A", "M"));
}

TEST_F(PolicyShowCommand, EscapesDirectionOverridesAndLineSeparators) {
    const std::string value = "a" + RightToLeftOverride() + "b" + LineSeparator() + "c";
    Publish("5", "<Policy><A>" + value + "</A></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM  VALUE\n"
              "A     a\\u202eb\\u2028c\n");
    const std::string json = Output({"policy", "show", "5", "--json"});
    EXPECT_THAT(json, HasSubstr("\"a\\u202eb\\u2028c\""));
    EXPECT_EQ(Json::parse(json), Json({{"A", value}}));
}

TEST_F(PolicyShowCommand, EscapesInvalidText) {
    std::filesystem::create_directory(store_);
    ASSERT_TRUE(WritePolicyFile(
        FileDescriptor::Open((store_ + "/5.cdb").c_str(), O_RDWR | O_CREAT | O_EXCL, 0644),
        {{"A", "\x1B\xFF"}}));
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM  VALUE\n"
              "A     \\x1b\\xff\n");
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "--json"})),
              Json({{"A", "\x1B\xEF\xBF\xBD"}}));
}

TEST_F(PolicyShowCommand, EmptyItemNameIsNoItem) {
    Publish("5", "<Policy><PolicyName>p</PolicyName></Policy>");
    EXPECT_EQ(Failure({"policy", "show", "5", ""}), "znpolicy: policy 5 has no item \"\"\n");
}

TEST_F(PolicyShowCommand, ShowsSeveralPolicies) {
    Publish("-5", "<Policy><A>1</A><B>2</B></Policy>");
    Publish("7", "<Policy><A>3</A></Policy>");
    EXPECT_EQ(Output({"policy", "show", "-5", "7"}),
              "ID  ITEM  VALUE\n"
              "-5  A     1\n"
              "-5  B     2\n"
              "7   A     3\n");
    EXPECT_EQ(Json::parse(Output({"policy", "show", "7", "-5", "--json"})),
              Json::array({{{"id", 7}, {"items", {{"A", "3"}}}},
                           {{"id", -5}, {"items", {{"A", "1"}, {"B", "2"}}}}}));
}

TEST_F(PolicyShowCommand, ShowsOneItemOfSeveralPolicies) {
    Publish("5", "<Policy><A>1</A><B>2</B></Policy>");
    Publish("7", "<Policy><A>3</A></Policy>");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "show", "5", "7", "A"},
                                               {"policy", "show", "5", "7", "--item", "A"},
                                               {"policy", "show", "5", "--item", "A", "7"},
                                               {"policy", "show", "--item", "A", "5", "7"}}) {
        EXPECT_EQ(Output(arguments),
                  "ID  ITEM  VALUE\n"
                  "5   A     1\n"
                  "7   A     3\n");
    }
    EXPECT_EQ(
        Json::parse(Output({"policy", "show", "5", "7", "A", "--json"})),
        Json::array({{{"id", 5}, {"items", {{"A", "1"}}}}, {{"id", 7}, {"items", {{"A", "3"}}}}}));
}

TEST_F(PolicyShowCommand, ItemCanBeGivenAsOption) {
    Publish("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5", "--item", "A"}), "1\n");
}

TEST_F(PolicyShowCommand, ReportsWhatIsNeitherIdNorItem) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"A"}, {"A", "5"}, {"5", "A", "B"}, {"5", "A", "--item", "B"}}) {
        std::vector<std::string> arguments = {"policy", "show"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, kWrongUsage);
        EXPECT_THAT(result.err, HasSubstr("ID: \"A\" is not an id: a decimal 32-bit integer "
                                          "without leading zeros or plus sign"));
    }
}

TEST_F(PolicyShowCommand, MissingPolicyOrItemDoesNotHideOthers) {
    Publish("5", "<Policy><A>1</A></Policy>");
    Publish("6", "<Policy><B>2</B></Policy>");
    const ProcessResult result = Run({"policy", "show", "4", "5", "6", "A"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out,
              "ID  ITEM  VALUE\n"
              "5   A     1\n");
    EXPECT_EQ(result.err, "znpolicy: no policy for id 4 in " + store_ +
                              "\nznpolicy: policy 6 has no item \"A\"\n");
}

}  // namespace
