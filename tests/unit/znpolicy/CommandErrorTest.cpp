#include <gtest/gtest.h>

#include "CommandError.h"

namespace {

bool Asks(const std::vector<const char*>& arguments) {
    return AsksForJson(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandError, FindsJsonOptionBeforeArguments) {
    EXPECT_TRUE(Asks({"znpolicy", "policy", "list", "--json"}));
    EXPECT_TRUE(Asks({"znpolicy", "--json", "--", "x"}));
    EXPECT_TRUE(Asks({"znpolicy", "policy", "list", "--json=true"}));
    EXPECT_FALSE(Asks({"znpolicy", "vc", "parse", "--", "--json"}));
    EXPECT_FALSE(Asks({"znpolicy", "--jsonx"}));
    EXPECT_FALSE(Asks({}));
}

std::string Printed(bool json, const std::string& message, const Json& details) {
    testing::internal::CaptureStderr();
    PrintError(json, "failed", message, details);
    return testing::internal::GetCapturedStderr();
}

TEST(CommandError, IsOneLine) {
    EXPECT_EQ(Printed(false, "a\nb", {{"reasons", {"c"}}}), "znpolicy: a\\nb\n");
    EXPECT_EQ(
        Printed(true, "a\nb\xFF", {{"reasons", {"c"}}}),
        "{\"error\":{\"code\":\"failed\",\"message\":\"a\\nb\\ufffd\",\"reasons\":[\"c\"]}}\n");
}

TEST(CommandError, KeepsDetails) {
    const CommandError error("message", {{"reasons", {"a"}}});
    EXPECT_STREQ(error.what(), "message");
    EXPECT_EQ(error.Details(), Json::parse(R"({"reasons": ["a"]})"));
}

TEST(CommandError, AsksWhetherSuggestionWasMeant) {
    const CommandError error = WithSuggestion("no item \"a\"", "b");
    EXPECT_STREQ(error.what(), "no item \"a\"; did you mean \"b\"?");
    EXPECT_EQ(error.Details(), Json::parse(R"({"suggestion": "b"})"));
    EXPECT_STREQ(WithSuggestion("message", "").what(), "message");
    EXPECT_EQ(WithSuggestion("message", "").Details(), Json::object());
}

}  // namespace
