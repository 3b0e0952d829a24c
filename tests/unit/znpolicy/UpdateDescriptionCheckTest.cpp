#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Base64.h"
#include "UpdateDescriptionCheck.h"

namespace {

using testing::HasSubstr;

const std::string kDigest(64, 'a');
const std::string kPackage = R"({"platform": "Model-A", "packageName": "a.zip", "sha256Hash": ")" +
                             kDigest + R"(", "size": "706"})";
const std::string kGood = "{\"packageInfo\": [" + kPackage + "]}";

// The description with `from` replaced.
std::string With(const std::string& from, const std::string& to) {
    std::string text = kGood;
    return text.replace(text.find(from), from.size(), to);
}

TEST(UpdateDescriptionCheck, CorrectDescriptionsHaveNoProblem) {
    EXPECT_TRUE(CheckUpdateDescription(kGood).empty());
    EXPECT_TRUE(CheckUpdateDescription(EncodeBase64(kGood)).empty());
    EXPECT_TRUE(CheckUpdateDescription(EncodeBase64(kGood) + "\r\n").empty());
    EXPECT_TRUE(CheckUpdateDescription(With(R"(, "size": "706")", "")).empty());
    EXPECT_TRUE(CheckUpdateDescription(With("706", "")).empty());
}

TEST(UpdateDescriptionCheck, ProblemsOfPlainTextHaveTheirPlace) {
    const struct {
        std::string text;
        std::string at;  // what stands at the place of the problem
        std::string message;
    } cases[] = {
        {With("706", "12abc"), "\"12abc\"", "\"size\" is not a decimal number of bytes"},
        {With("706", "-1"), "\"-1\"", "\"size\" is not a decimal number of bytes"},
        {With("706", "3000000000"), "\"3000000000\"", "\"size\" is not a decimal number of bytes"},
        {With("\"706\"", "706"), "706", "\"size\" is not a string"},
        {With("Model-A", "x\\u0000y"), "\"x", "\"platform\" has a NUL character, which ends it"},
        {With("Model-A", "M"), "\"M\"", "\"platform\" is shorter than 2 characters"},
        {With("a.zip", std::string(64, 'x')), "\"xxx", "\"packageName\" has 64 bytes; at most 63"},
        {With(kDigest, std::string(64, 'A')), "\"AAA", "not 64 lower-case hexadecimal digits"},
        {With(kDigest, std::string(63, 'a')), "\"aaa", "not 64 lower-case hexadecimal digits"},
        {With("\"sha256Hash\"", "\"sha256hash\""), "{\"packageInfo",
         "a description without \"sha256Hash\""},
        {With("[", "[7,"), "7,", "package 1 is not an object"},
        {With("{\"packageInfo\"", "{\"a\": 1, \"packageInfo\""), "\"a\"", "unknown member \"a\""},
        {With("]}", "}"), "}", "not JSON"},
        {"[" + kPackage + "]", "[", "not a JSON object"},
        {"{\"x\": " + kPackage + "}", "{\"x\"", "no member \"packageInfo\""},
        {"{\"packageInfo\": " + kPackage + "}", kPackage, "\"packageInfo\" is not an array"},
        {With("]", ", " + kPackage + "]"), "", "package 2 has the digest of package 1"},
    };
    for (const auto& wrong : cases) {
        const auto problems = CheckUpdateDescription(wrong.text);
        ASSERT_FALSE(problems.empty()) << wrong.text;
        EXPECT_THAT(problems[0].message, HasSubstr(wrong.message));
        EXPECT_EQ(wrong.text.substr(problems[0].offset, wrong.at.size()), wrong.at) << wrong.text;
    }
}

TEST(UpdateDescriptionCheck, MisspeltMembersAreSuggested) {
    for (const std::string name : {"PackageName", "packagename", "package_name", "package-name"}) {
        const auto problems =
            CheckUpdateDescription(With("{\"pl", "{\"" + name + "\": \"x\", \"pl"));
        ASSERT_EQ(problems.size(), 1U) << name;
        EXPECT_EQ(problems[0].suggestion, "packageName") << name;
    }
}

TEST(UpdateDescriptionCheck, ForeignCharacterInBase64HasItsOffset) {
    const std::string base64 = EncodeBase64(kGood);
    for (const std::string foreign : {" ", "\t", "-", "\xC3\xA4"}) {
        std::string text = base64;
        const auto problems = CheckUpdateDescription(text.insert(10, foreign));
        ASSERT_EQ(problems.size(), 1U);
        EXPECT_EQ(problems[0].offset, 10U);
        EXPECT_THAT(problems[0].message, HasSubstr("at offset 10"));
    }
}

TEST(UpdateDescriptionCheck, CutBase64IsReportedAtItsEnd) {
    const auto problems = CheckUpdateDescription("QUJDRA=");
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].offset, 7U);
}

TEST(UpdateDescriptionCheck, ProblemsOfDecodedTextNameTheirPlace) {
    const std::string text = With("706", "x");
    const auto problems = CheckUpdateDescription(EncodeBase64("\n" + text));
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].offset, 0U);
    EXPECT_THAT(problems[0].message,
                HasSubstr("(line 2, column " + std::to_string(text.find("\"x\"") + 1) +
                          " of the decoded text)"));
}

TEST(UpdateDescriptionCheck, TextWithoutTheWordsIsNoDescription) {
    EXPECT_THAT(CheckUpdateDescription(EncodeBase64("{\"platform\": 1}"))[0].message,
                HasSubstr("without \"sha256Hash\""));
    EXPECT_THAT(CheckUpdateDescription("x")[0].message, HasSubstr("shorter than 2"));
}

TEST(UpdateDescriptionCheck, ReportIsBounded) {
    std::string text = With("[", "[0");
    for (int i = 0; i < 2000; ++i) {
        text.insert(text.find("[0") + 1, "0,");
    }
    const auto problems = CheckUpdateDescription(text.replace(text.find("0{"), 1, "0,"));
    ASSERT_EQ(problems.size(), 1001U);
    EXPECT_EQ(problems.back().message, "more problems follow that are not reported");
}

}  // namespace
