#include <gtest/gtest.h>

#include "LocatedJson.h"

namespace {

LocatedJson Parse(const std::string& text) {
    LocatedJson root;
    JsonProblem problem;
    EXPECT_TRUE(ParseLocatedJson(text, root, problem)) << text << ": " << problem.reason;
    return root;
}

// Why and where `text` is refused.
JsonProblem ProblemOf(const std::string& text) {
    LocatedJson root;
    JsonProblem problem;
    EXPECT_FALSE(ParseLocatedJson(text, root, problem)) << text;
    return problem;
}

TEST(LocatedJson, ValuesKnowTheirPlace) {
    const std::string text = R"( { "a" : [ 12 , "x\"y" , {"b":true} ,-3] , "c":null } )";
    const LocatedJson root = Parse(text);
    EXPECT_EQ(root.kind, LocatedJson::Kind::kObject);
    EXPECT_EQ(root.offset, 1U);
    ASSERT_EQ(root.children.size(), 2U);
    EXPECT_EQ(root.children[0].nameOffset, text.find("\"a\""));
    EXPECT_EQ(root.children[1].nameOffset, text.find("\"c\""));
    EXPECT_EQ(root.children[1].value.offset, text.find("null"));

    const LocatedJson& array = root.children[0].value;
    EXPECT_EQ(array.kind, LocatedJson::Kind::kArray);
    EXPECT_EQ(array.offset, text.find('['));
    ASSERT_EQ(array.children.size(), 4U);
    EXPECT_EQ(array.children[0].value.offset, text.find("12"));
    EXPECT_EQ(array.children[0].value.number, 12);
    EXPECT_EQ(array.children[1].value.offset, text.find("\"x"));
    EXPECT_EQ(array.children[1].value.text, "x\"y");
    EXPECT_EQ(array.children[2].value.offset, text.find("{\"b\""));
    EXPECT_EQ(array.children[2].value.children[0].value.offset, text.find("true"));
    EXPECT_EQ(array.children[3].value.offset, text.find("-3"));
    EXPECT_EQ(array.children[3].value.number, -3);
}

TEST(LocatedJson, NumberBeforeABracketDoesNotShiftWhatFollows) {
    const std::string text = "[[1],[2.5],{\"a\":3},4]";
    const LocatedJson root = Parse(text);
    ASSERT_EQ(root.children.size(), 4U);
    EXPECT_EQ(root.children[1].value.offset, text.find("[2"));
    EXPECT_EQ(root.children[1].value.children[0].value.kind, LocatedJson::Kind::kOther);
    EXPECT_EQ(root.children[2].value.offset, text.find('{'));
    EXPECT_EQ(root.children[3].value.offset, text.find('4'));
}

TEST(LocatedJson, FirstMemberOfAnyNameCounts) {
    const LocatedJson root = Parse(R"({"a": 1, "a": 2})");
    ASSERT_NE(root.Member("a"), nullptr);
    EXPECT_EQ(root.Member("a")->number, 1);
    EXPECT_EQ(root.Member("b"), nullptr);
    EXPECT_EQ(Parse("[1]").Member(""), nullptr);
}

TEST(LocatedJson, OnlyTheUpperLevelsAreKept) {
    const LocatedJson root = Parse(R"([[[[5, [6]]]], 7])");
    const LocatedJson& fourth = root.children[0].value.children[0].value.children[0].value;
    EXPECT_EQ(fourth.kind, LocatedJson::Kind::kArray);
    EXPECT_TRUE(fourth.children.empty());
    EXPECT_EQ(root.children[1].value.number, 7);
}

TEST(LocatedJson, ByteOrderMarkIsSkipped) {
    EXPECT_EQ(Parse("\xEF\xBB\xBF{}").offset, 3U);
}

TEST(LocatedJson, ScalarMayBeTheRoot) {
    EXPECT_EQ(Parse(" 12 ").number, 12);
    EXPECT_EQ(Parse(" 12 ").offset, 1U);
    EXPECT_EQ(Parse("\"a\"").text, "a");
    EXPECT_EQ(Parse("null").kind, LocatedJson::Kind::kOther);
}

TEST(LocatedJson, NumberBeyond64BitsIsNoInteger) {
    EXPECT_EQ(Parse("9223372036854775807").kind, LocatedJson::Kind::kInteger);
    EXPECT_EQ(Parse("18446744073709551615").kind, LocatedJson::Kind::kOther);
    EXPECT_EQ(Parse("1.0").kind, LocatedJson::Kind::kOther);
}

TEST(LocatedJson, ProblemHasItsPlace) {
    const struct {
        std::string text;
        std::size_t offset;
    } cases[] = {{"", 0},     {"{\"a\": yes}", 6}, {"{\"a\": 1", 7},       {"[1] 2", 4},
                 {"[1,]", 3}, {"[\"a\xFF\"]", 3},  {"\xEF\xBB\xBF[1,]", 6}};
    for (const auto& wrong : cases) {
        const JsonProblem problem = ProblemOf(wrong.text);
        EXPECT_EQ(problem.offset, wrong.offset) << wrong.text;
        EXPECT_NE(problem.reason, "") << wrong.text;
    }
}

TEST(LocatedJson, NulIsReportedAtItsPlace) {
    for (const std::string text : {"[1]", "[1,"}) {
        const JsonProblem problem = ProblemOf(text + std::string(1, '\0') + " ");
        EXPECT_EQ(problem.offset, 3U);
        EXPECT_EQ(problem.reason, "not JSON: a NUL character");
    }
}

TEST(LocatedJson, RefusesWhatTheServiceRefuses) {
    const std::string reason = "not JSON: nested too deeply, or a number that is too large";
    EXPECT_EQ(ProblemOf(std::string(2000, '[') + std::string(2000, ']')).reason, reason);
    EXPECT_EQ(ProblemOf("[100000000000000000000000]").reason, reason);
    EXPECT_EQ(ProblemOf("[1e999]").reason, reason);
}

TEST(LocatedJson, NumberOfValuesIsLimited) {
    std::string text = "[0";
    for (int i = 0; i < 1'000'000; ++i) {
        text += ",0";
    }
    EXPECT_EQ(ProblemOf(text + "]").reason, "more than 1000000 values: not checked");
}

TEST(LocatedJson, DeepNestingDoesNotExhaustTheStack) {
    EXPECT_NE(ProblemOf(std::string(1'000'000, '[')).reason, "");
}

}  // namespace
