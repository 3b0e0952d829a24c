#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"
#include "ZnXml.h"

namespace {

// How a policy is published is not part of the contract: the shell command in ZN_PUBLISH does it
// for the id and the document that are its arguments.
class ZnXmlContractTest : public testing::Test {
   protected:
    void Publish(int id, const std::string& xml) const {
        const char* const command = std::getenv("ZN_PUBLISH");
        ASSERT_NE(command, nullptr) << "run these tests with scripts/test-services";
        WriteFile(directory_ / "policy.xml", xml);
        ProcessOptions options;
        options.environment["LD_LIBRARY_PATH"] = std::nullopt;  // of the libraries to test
        const ProcessResult result = RunProgram({"sh", "-c", std::string(command) + " \"$@\"", "sh",
                                                 std::to_string(id), directory_ / "policy.xml"},
                                                options);
        ASSERT_TRUE(result.Succeeded()) << result;
    }

    const TemporaryDirectory directory_;
};

TEST_F(ZnXmlContractTest, NothingIsReadBeforePolicyIsLoaded) {
    ZnXml xml;
    std::string text;
    int number = 0;
    EXPECT_FALSE(xml.GetXmlContent("PolicyName", text));
    EXPECT_FALSE(xml.GetXmlContent("PolicyName", number));
}

TEST_F(ZnXmlContractTest, PolicyIsLoadedById) {
    Publish(4711, "<Policy><Item>seven</Item></Policy>");
    Publish(4712, "<Policy><Item>eight</Item></Policy>");
    ZnXml xml;
    std::string text;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(4711));
    EXPECT_TRUE(xml.GetXmlContent("Item", text));
    EXPECT_EQ(text, "seven");
    ASSERT_TRUE(xml.LoadPolicyShareMemory(4712));
    EXPECT_TRUE(xml.GetXmlContent("Item", text));
    EXPECT_EQ(text, "eight");
}

TEST_F(ZnXmlContractTest, MissingPolicyIsNotLoaded) {
    ZnXml xml;
    std::string text;
    EXPECT_FALSE(xml.LoadPolicyShareMemory(INT_MIN + 4711));
    EXPECT_FALSE(xml.GetXmlContent("Item", text));
}

TEST_F(ZnXmlContractTest, ItemsAreReadAsTextAndAsNumbers) {
    Publish(4713,
            "<Policy><Text>{\"a\": 1}</Text><Number>-42</Number><Big>2147483648</Big>"
            "<Module><Audio>5</Audio></Module></Policy>");
    ZnXml xml;
    std::string text;
    int number = 0;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(4713));
    EXPECT_TRUE(xml.GetXmlContent("Text", text));
    EXPECT_EQ(text, "{\"a\": 1}");
    EXPECT_TRUE(xml.GetXmlContent("Number", text));
    EXPECT_EQ(text, "-42");
    EXPECT_TRUE(xml.GetXmlContent("Number", number));
    EXPECT_EQ(number, -42);
    EXPECT_TRUE(xml.GetXmlContent("Module/Audio", number));
    EXPECT_EQ(number, 5);
    EXPECT_FALSE(xml.GetXmlContent("Text", number));
    EXPECT_FALSE(xml.GetXmlContent("Big", number));
    EXPECT_FALSE(xml.GetXmlContent("Missing", text));
    EXPECT_FALSE(xml.GetXmlContent("Missing", number));
    EXPECT_FALSE(xml.GetXmlContent(nullptr, text));
}

TEST_F(ZnXmlContractTest, LaterPublicationDoesNotChangeLoadedPolicy) {
    Publish(4714, "<Policy><Item>old</Item></Policy>");
    ZnXml before;
    ASSERT_TRUE(before.LoadPolicyShareMemory(4714));
    Publish(4714, "<Policy><Item>new</Item></Policy>");
    ZnXml after;
    ASSERT_TRUE(after.LoadPolicyShareMemory(4714));
    std::string text;
    EXPECT_TRUE(before.GetXmlContent("Item", text));
    EXPECT_EQ(text, "old");
    EXPECT_TRUE(after.GetXmlContent("Item", text));
    EXPECT_EQ(text, "new");
}

}  // namespace
