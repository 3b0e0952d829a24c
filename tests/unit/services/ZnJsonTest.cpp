#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ZnJson.h"

namespace {

using ZnJson::Value;

bool Parses(const std::string& text) {
    return !Value(text).IsEmpty();
}

std::string Text(const Value& value, const std::string& key) {
    std::string text = "previous";
    value.Get(key, text);
    return text;
}

// The string that `literal`, quotes included, stands for.
std::string StringOf(const std::string& literal) {
    return Text(Value("{\"s\":" + literal + "}"), "s");
}

// The number written `literal`, or -7 when it is no 32-bit integer.
int NumberOf(const std::string& literal) {
    int number = -7;
    const bool read = Value("{\"n\":" + literal + "}").GetJsonValue("n", number);
    EXPECT_EQ(read, number != -7) << literal;
    return number;
}

std::string Nested(const std::string& open, const std::string& inner, const std::string& close,
                   int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
        text += open;
    }
    text += inner;
    for (int i = 0; i < depth; ++i) {
        text += close;
    }
    return text;
}

}  // namespace

TEST(ZnJsonTest, DefaultValueIsEmpty) {
    const Value value;

    EXPECT_TRUE(value.IsEmpty());
    EXPECT_EQ(value.GetArraySize(), 0);
}

TEST(ZnJsonTest, AcceptsEveryKindOfValue) {
    for (const char* text : {"{}", "[]", "null", "true", "false", "0", "-1.5e3", "\"\"", "\"a\"",
                             " \t\r\n{ } \t\r\n"}) {
        EXPECT_TRUE(Parses(text)) << text;
    }
}

TEST(ZnJsonTest, RefusesEmptyText) {
    for (const char* text : {"", " ", "\n\t"}) {
        EXPECT_FALSE(Parses(text)) << '"' << text << '"';
    }
}

TEST(ZnJsonTest, RefusesInvalidJson) {
    const std::string texts[] = {
        "{",
        "}",
        "[",
        "]",
        "{]",
        "[}",
        "[1,]",
        "[,1]",
        "[1 2]",
        "{\"a\":1,}",
        "{\"a\"}",
        "{\"a\":}",
        "{\"a\" 1}",
        "{a:1}",
        "{'a':1}",
        "{1:2}",
        "tru",
        "True",
        "nul",
        "nulll",
        "NaN",
        "Infinity",
        "+1",
        "01",
        "-",
        "1.",
        ".5",
        "1e",
        "0x10",
        "\"",
        "\"a",
        R"("\x")",
        R"("\u12")",
        "\"a\nb\"",
        "\"a\tb\"",
        "// comment\n1",
        std::string("\"a\0b\"", 5),
    };
    for (const std::string& text : texts) {
        EXPECT_FALSE(Parses(text)) << text;
    }
}

TEST(ZnJsonTest, RefusesTrailingCharacters) {
    const std::string texts[] = {
        "{} x", "{}{}", "[] ,", "1 2", "null null", "{\"a\":1}}", "[1]]", std::string("{}\0", 3),
    };
    for (const std::string& text : texts) {
        EXPECT_FALSE(Parses(text)) << text;
    }
}

TEST(ZnJsonTest, ParseReplacesValueAndReturnsSuccess) {
    Value value;

    EXPECT_TRUE(value.Parse("{\"a\":\"1\"}"));
    EXPECT_EQ(Text(value, "a"), "1");
    EXPECT_TRUE(value.Parse("{\"a\":\"2\"}"));
    EXPECT_EQ(Text(value, "a"), "2");
    EXPECT_FALSE(value.Parse("{\"a\":"));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_TRUE(value.Parse("[1]"));
    EXPECT_FALSE(value.IsEmpty());
}

TEST(ZnJsonTest, IgnoresByteOrderMark) {
    EXPECT_EQ(Text(Value("\xEF\xBB\xBF{\"a\":\"b\"}"), "a"), "b");
    EXPECT_FALSE(Parses("\xEF\xBB\xBF"));
    EXPECT_FALSE(Parses("\xEF\xBB\xBF\xEF\xBB\xBF{}"));
    EXPECT_FALSE(Parses("{}\xEF\xBB\xBF"));
}

TEST(ZnJsonTest, NulDoesNotEndText) {
    EXPECT_FALSE(Parses(std::string("[1]\0[", 5)));
    EXPECT_EQ(StringOf("\"a\\u0000b\""), std::string("a\0b", 3));
}

TEST(ZnJsonTest, ResolvesEscapes) {
    EXPECT_EQ(StringOf(R"("\"\\\/\b\f\n\r\t")"), "\"\\/\b\f\n\r\t");
    EXPECT_EQ(StringOf(R"("\u0041\u00e9\u20AC\uFFFF")"), "A\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF");
}

TEST(ZnJsonTest, CombinesSurrogatePairs) {
    EXPECT_EQ(StringOf(R"("\ud83d\ude00")"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(StringOf(R"("\uD800\uDC00")"), "\xF0\x90\x80\x80");
    EXPECT_EQ(StringOf(R"("\uDBFF\uDFFF")"), "\xF4\x8F\xBF\xBF");
}

TEST(ZnJsonTest, RefusesLoneSurrogates) {
    for (const char* text : {R"("\ud83d")", R"("\ude00")", R"("\ud83dx")", R"("\ud83d\u0041")",
                             R"("\ude00\ud83d")", R"("\ud83d\ud83d")"}) {
        EXPECT_FALSE(Parses(text)) << text;
    }
}

TEST(ZnJsonTest, RefusesTextThatIsNotUtf8) {
    for (const char* text : {"\"\xFF\"", "\"\xC0\x80\"", "\"\xE2\x82\"", "\"\xED\xA0\x80\"",
                             "\"\xF4\x90\x80\x80\"", "\"\x80\""}) {
        EXPECT_FALSE(Parses(text)) << testing::PrintToString(text);
    }
    EXPECT_EQ(StringOf("\"\xC3\xA9\xF0\x9F\x98\x80\""), "\xC3\xA9\xF0\x9F\x98\x80");
}

TEST(ZnJsonTest, AcceptsNestingUpTo1023LevelsOnly) {
    for (const char* inner : {"1", "", "[\"[[[\\\"[\"]"}) {
        const int extra = inner[0] == '[' ? 1 : 0;
        EXPECT_TRUE(Parses(Nested("[", inner, "]", 1023 - extra))) << inner;
        for (const int depth : {1024, 100000, 5000000}) {
            EXPECT_FALSE(Parses(Nested("[", inner, "]", depth - extra))) << inner << depth;
        }
    }
    EXPECT_TRUE(Parses(Nested("{\"a\":", "{}", "}", 1022)));
    EXPECT_TRUE(Parses(Nested("{\"a\":", "1", "}", 1023)));
    EXPECT_FALSE(Parses(Nested("{\"a\":", "{}", "}", 1023)));
    EXPECT_FALSE(Parses(Nested("{\"a\":", "1", "}", 1024)));
}

TEST(ZnJsonTest, BracketsInStringsAreNotNesting) {
    EXPECT_TRUE(Parses("\"" + std::string(5000, '[') + "\""));
    EXPECT_TRUE(Parses(R"(["\\", "\"[{"])"));
}

TEST(ZnJsonTest, ReadsCopiesAndDestroysDeepestValue) {
    Value root(Nested("{\"a\":", R"({"s":"bottom"})", "}", 1022));
    Value* value = &root;
    for (int i = 0; i < 1022; ++i) {
        value = &(*value)["a"];
    }
    const Value copy = *value;
    root = Value();

    EXPECT_EQ(Text(copy, "s"), "bottom");
}

TEST(ZnJsonTest, FindsMembersByNameAndElementsByPosition) {
    Value root(R"({"list":[{"name":"first"},{"name":"second"}],"":{"name":"no key"}})");

    EXPECT_EQ(root["list"].GetArraySize(), 2);
    EXPECT_EQ(Text(root["list"][0], "name"), "first");
    EXPECT_EQ(Text(root["list"][1], "name"), "second");
    EXPECT_EQ(Text(root[""], "name"), "no key");
}

TEST(ZnJsonTest, ComparesNamesWithEscapesResolved) {
    const Value value(R"({"\u0061\n":"found","b\u0000c":"NUL"})");

    EXPECT_EQ(Text(value, "a\n"), "found");
    EXPECT_EQ(Text(value, std::string("b\0c", 3)), "NUL");
    EXPECT_EQ(Text(value, "b"), "");
}

TEST(ZnJsonTest, NamesAreCaseSensitive) {
    EXPECT_EQ(Text(Value(R"({"Name":"x"})"), "name"), "");
}

TEST(ZnJsonTest, FirstOfDuplicateMembersCounts) {
    Value value(R"({"a":"1","n":1,"o":{"x":"first"},"a":"2","n":2,"o":{"x":"second"},"a":3})");
    int number = 0;

    EXPECT_EQ(Text(value, "a"), "1");
    EXPECT_TRUE(value.GetJsonValue("n", number));
    EXPECT_EQ(number, 1);
    EXPECT_EQ(Text(value["o"], "x"), "first");
}

TEST(ZnJsonTest, MissingMemberIsEmpty) {
    Value value(R"({"a":1})");

    EXPECT_TRUE(value["b"].IsEmpty());
    EXPECT_EQ(value["b"].GetArraySize(), 0);
    EXPECT_TRUE(value["b"]["c"][7]["d"].IsEmpty());
}

TEST(ZnJsonTest, MissingPositionIsEmpty) {
    Value value("[1,2]");

    EXPECT_FALSE(value[1].IsEmpty());
    EXPECT_TRUE(value[2].IsEmpty());
    EXPECT_TRUE(value[std::numeric_limits<unsigned int>::max()].IsEmpty());
    EXPECT_TRUE(Value("[]")[0].IsEmpty());
}

TEST(ZnJsonTest, IndexingOtherKindsIsEmpty) {
    for (const char* text : {"", "null", "true", "1", "1.5", "\"text\""}) {
        Value value(text);
        EXPECT_TRUE(value["a"].IsEmpty()) << text;
        EXPECT_TRUE(value[0].IsEmpty()) << text;
    }
    EXPECT_TRUE(Value("[1]")["0"].IsEmpty());
    EXPECT_TRUE(Value(R"({"0":1})")[0].IsEmpty());
}

TEST(ZnJsonTest, NullMemberIsValueButNotText) {
    Value value(R"({"a":null})");

    EXPECT_FALSE(value["a"].IsEmpty());
    EXPECT_EQ(Text(value, "a"), "");
}

TEST(ZnJsonTest, OnlyArraysHaveASize) {
    EXPECT_EQ(Value("[]").GetArraySize(), 0);
    EXPECT_EQ(Value("[[1,2,3],{}]").GetArraySize(), 2);
    for (const char* text : {"", "{}", R"({"a":1,"b":2})", "\"abc\"", "3", "null"}) {
        EXPECT_EQ(Value(text).GetArraySize(), 0) << text;
    }
}

TEST(ZnJsonTest, CountsMoreElementsThanParser) {
    const int size = 0xFFFFFF + 10;
    std::string text = "[7";
    for (int i = 1; i < size; ++i) {
        text += ",7";
    }
    text += "]";
    const Value value(text);

    EXPECT_EQ(value.GetArraySize(), size);
}

TEST(ZnJsonTest, Reads32BitIntegers) {
    EXPECT_EQ(NumberOf("0"), 0);
    EXPECT_EQ(NumberOf("-0"), 0);
    EXPECT_EQ(NumberOf("12"), 12);
    EXPECT_EQ(NumberOf("2147483647"), 2147483647);
    EXPECT_EQ(NumberOf("-2147483648"), -2147483647 - 1);
}

TEST(ZnJsonTest, OtherThan32BitIntegerLeavesTargetUnchanged) {
    for (const char* literal :
         {"2147483648", "-2147483649", "4294967296", "9223372036854775807", "-9223372036854775808",
          "9223372036854775808", "18446744073709551615", "99999999999999999999", "1.0", "1e0",
          "1E3", "0.5", "-0.0", "\"12\"", "\"\"", "null", "true", "[1]", "{\"n\":1}"}) {
        EXPECT_EQ(NumberOf(literal), -7) << literal;
    }
}

TEST(ZnJsonTest, MissingNumberLeavesTargetUnchanged) {
    int number = -7;

    EXPECT_FALSE(Value(R"({"a":1})").GetJsonValue("b", number));
    EXPECT_FALSE(Value("[1]").GetJsonValue("0", number));
    EXPECT_FALSE(Value().GetJsonValue("a", number));
    EXPECT_EQ(number, -7);
}

TEST(ZnJsonTest, RefusesNumbersOutOfRange) {
    EXPECT_FALSE(Parses("123456789012345678901234567890"));
    EXPECT_FALSE(Parses("1e400"));
}

TEST(ZnJsonTest, OtherThanStringClearsTarget) {
    const Value value(R"({"n":1,"d":1.5,"t":true,"z":null,"a":["x"],"o":{"s":"x"},"s":"text"})");
    for (const char* key : {"n", "d", "t", "z", "a", "o", "missing", ""}) {
        std::string text = "before";
        EXPECT_FALSE(value.Get(key, text)) << key;
        EXPECT_EQ(text, "") << key;
    }
    std::string text = "before";
    EXPECT_TRUE(value.Get("s", text));
    EXPECT_EQ(text, "text");
}

TEST(ZnJsonTest, ReadingStringFromEmptyValueClearsTarget) {
    EXPECT_EQ(Text(Value(), "a"), "");
    EXPECT_EQ(Text(Value("[\"a\"]"), "a"), "");
    EXPECT_EQ(Text(Value("\"a\""), "a"), "");
}

TEST(ZnJsonTest, FindsMembersOfWideObjects) {
    std::string json = R"({"twice":"first")";
    for (int i = 0; i < 2000; ++i) {
        json += ",\"key" + std::to_string(i) + "\":\"" + std::to_string(i) + "\"";
    }
    json += R"(,"twice":"second"})";
    Value value(json);

    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(Text(value, "key" + std::to_string(i)), std::to_string(i));
        ASSERT_FALSE(value["key" + std::to_string(i)].IsEmpty());
    }
    EXPECT_EQ(Text(value, "twice"), "first");
    EXPECT_EQ(Text(value, "key2000"), "");
    EXPECT_TRUE(value["key2000"].IsEmpty());
}

TEST(ZnJsonTest, ReadsLongArrays) {
    std::string json = R"({"list":[)";
    for (int i = 0; i < 100000; ++i) {
        json += (i == 0 ? "{\"id\":" : ",{\"id\":") + std::to_string(i) + "}";
    }
    Value root(json + "]}");

    int count = 0;
    for (int i = 0; i < root["list"].GetArraySize(); ++i) {
        int id = -1;
        root["list"][static_cast<unsigned int>(i)].GetJsonValue("id", id);
        ASSERT_EQ(id, i);
        ++count;
    }
    EXPECT_EQ(count, 100000);
}

TEST(ZnJsonTest, ReferencesStayValidWhileSourceIsUnchanged) {
    Value root(R"({"a":[{"s":"0"},{"s":"1"}],"b":{"s":"b"}})");
    Value& first = root["a"][0];
    Value& b = root["b"];
    for (int i = 0; i < 1000; ++i) {
        root["a"][1];
        root["missing" + std::to_string(i)];
    }

    EXPECT_EQ(Text(first, "s"), "0");
    EXPECT_EQ(Text(b, "s"), "b");
    EXPECT_EQ(&root["a"][0], &first);
}

TEST(ZnJsonTest, CopiesAreIndependent) {
    Value original(R"({"a":{"s":"x"}})");
    Value copy = original;
    Value part = original["a"];
    Value assigned;
    assigned = original;
    original.Parse("[]");

    EXPECT_EQ(Text(copy["a"], "s"), "x");
    EXPECT_EQ(Text(part, "s"), "x");
    EXPECT_EQ(Text(assigned["a"], "s"), "x");
    EXPECT_TRUE(Value(Value()).IsEmpty());
}

TEST(ZnJsonTest, ValueCanBeAssignedItsOwnPart) {
    Value value(R"({"a":{"b":{"s":"x"}}})");
    value = value["a"];
    value = std::move(value["b"]);

    EXPECT_EQ(Text(value, "s"), "x");
    const Value& same = value;
    value = same;
    EXPECT_EQ(Text(value, "s"), "x");
}

TEST(ZnJsonTest, MovesValues) {
    Value source(R"({"s":"x"})");
    Value target(std::move(source));
    Value another;
    another = std::move(target);

    EXPECT_EQ(Text(another, "s"), "x");
}

TEST(ZnJsonTest, ChangingResultDoesNotChangeSource) {
    Value root(R"({"a":{"s":"x"}})");
    root["missing"] = Value("[1]");
    const Value taken = std::move(root["a"]);

    EXPECT_TRUE(root["missing"].IsEmpty());
    EXPECT_TRUE(root["other"].IsEmpty());
    EXPECT_EQ(Text(root["a"], "s"), "x");
    EXPECT_EQ(Text(taken, "s"), "x");
}

TEST(ZnJsonTest, ThreadsReadCopies) {
    const Value original(R"([{"s":"0"},{"s":"1"},{"s":"2"}])");
    std::vector<std::string> texts(4);
    std::vector<std::thread> threads;
    threads.reserve(texts.size());
    for (std::string& text : texts) {
        threads.emplace_back([&text, copy = original]() mutable {
            for (unsigned int i = 0; i < 3; ++i) {
                text += Text(copy[i], "s");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(texts, std::vector<std::string>(4, "012"));
}
