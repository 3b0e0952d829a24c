#include <gtest/gtest.h>

#include <string>

#include "ZnJson.h"

namespace {

using ZnJson::Value;

TEST(ZnJsonContractTest, TextIsParsed) {
    EXPECT_TRUE(Value().IsEmpty());
    Value value;
    EXPECT_TRUE(value.Parse(R"({"a": 1})"));
    EXPECT_FALSE(value.IsEmpty());
    for (const char* text : {"", "{", "{} x", "text", "[1,]"}) {
        EXPECT_FALSE(value.Parse(text)) << text;
        EXPECT_TRUE(value.IsEmpty()) << text;
        EXPECT_TRUE(Value(std::string(text)).IsEmpty()) << text;
    }
    EXPECT_FALSE(Value(std::string("{}")).IsEmpty());
    EXPECT_FALSE(Value(std::string("[]")).IsEmpty());
}

TEST(ZnJsonContractTest, MembersAndElementsAreFound) {
    Value value(std::string(R"({"list": [{"name": "first"}, {"name": "second"}]})"));
    EXPECT_EQ(value["list"].GetArraySize(), 2);
    std::string name;
    EXPECT_TRUE(value["list"][1U].Get("name", name));
    EXPECT_EQ(name, "second");
    EXPECT_EQ(value.GetArraySize(), 0);
}

TEST(ZnJsonContractTest, MissingMembersAndElementsAreEmpty) {
    Value value(std::string(R"({"list": [1], "text": "x"})"));
    EXPECT_TRUE(value["missing"].IsEmpty());
    EXPECT_TRUE(value["missing"]["deeper"][3U].IsEmpty());
    EXPECT_TRUE(value["list"][1U].IsEmpty());
    EXPECT_TRUE(value["text"]["x"].IsEmpty());
    EXPECT_TRUE(value[0U].IsEmpty());
    EXPECT_EQ(value["missing"].GetArraySize(), 0);
}

TEST(ZnJsonContractTest, IntegersAreRead) {
    const Value value(std::string(R"({"n": -7, "text": "7", "big": 2147483648, "real": 1.5})"));
    int number = 42;
    EXPECT_TRUE(value.GetJsonValue("n", number));
    EXPECT_EQ(number, -7);
    for (const char* key : {"text", "big", "real", "missing"}) {
        number = 42;
        EXPECT_FALSE(value.GetJsonValue(key, number)) << key;
        EXPECT_EQ(number, 42) << key;
    }
}

TEST(ZnJsonContractTest, StringsAreRead) {
    const Value value(std::string(R"({"s": "a\"\u00e9\n", "n": 1})"));
    std::string text;
    EXPECT_TRUE(value.Get("s", text));
    EXPECT_EQ(text, "a\"\xC3\xA9\n");
    for (const char* key : {"n", "missing"}) {
        text = "old";
        EXPECT_FALSE(value.Get(key, text)) << key;
        EXPECT_EQ(text, "") << key;
    }
}

TEST(ZnJsonContractTest, CopiesAreIndependent) {
    Value original(std::string(R"({"a": {"b": 1}})"));
    const Value copy = original["a"];
    original.Parse("[]");
    int number = 0;
    EXPECT_TRUE(copy.GetJsonValue("b", number));
    EXPECT_EQ(number, 1);
}

}  // namespace
