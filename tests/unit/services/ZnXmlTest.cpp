#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "ChildProcess.h"
#include "FailingAllocations.h"
#include "RaisedProbe.h"
#include "StoreTest.h"
#include "ZnXml.h"

namespace {

using testing::EndsWith;
using ZnXmlTest = StoreTest;

TEST_F(ZnXmlTest, AccessorIsBoundToNoPolicyAtFirst) {
    ZnXml xml;
    std::string text;
    int number = 0;
    EXPECT_FALSE(xml.GetXmlContent("PolicyName", text));
    EXPECT_FALSE(xml.GetXmlContent("PolicyName", number));
}

TEST_F(ZnXmlTest, PolicyIsLoadedById) {
    Publish(7, "<Policy><PolicyName>seven</PolicyName></Policy>");
    ZnXml xml;
    std::string text;
    EXPECT_TRUE(xml.LoadPolicyShareMemory(7));
    EXPECT_TRUE(xml.GetXmlContent("PolicyName", text));
    EXPECT_EQ(text, "seven");
    EXPECT_FALSE(xml.LoadPolicyShareMemory(8));
}

TEST_F(ZnXmlTest, EveryIntegerIsAnId) {
    for (const int id : {INT_MIN, -5, -1, 0, 1, INT_MAX}) {
        Publish(id, "<Policy><Id>" + std::to_string(id) + "</Id></Policy>");
    }
    for (const int id : {INT_MIN, -5, -1, 0, 1, INT_MAX}) {
        ZnXml xml;
        int number = 42;
        EXPECT_TRUE(xml.LoadPolicyShareMemory(id));
        EXPECT_TRUE(xml.GetXmlContent("Id", number));
        EXPECT_EQ(number, id);
    }
}

TEST_F(ZnXmlTest, FailedLoadLeavesTheAccessorBoundToNothing) {
    Publish(7, "<Policy><PolicyName>seven</PolicyName></Policy>");
    ZnXml xml;
    std::string text;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(7));
    ASSERT_FALSE(xml.LoadPolicyShareMemory(8));
    EXPECT_FALSE(xml.GetXmlContent("PolicyName", text));
}

TEST_F(ZnXmlTest, TextIsReadByteForByte) {
    const std::string value = " \ta\n\xC3\xA4\r {\"b\": 1}\t ";
    Publish(1, "<Policy><Text>" + value + "</Text><Empty/></Policy>");
    ZnXml xml;
    std::string text = "old";
    ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
    EXPECT_TRUE(xml.GetXmlContent("Text", text));
    EXPECT_EQ(text, value);
    EXPECT_TRUE(xml.GetXmlContent("Empty", text));
    EXPECT_EQ(text, "");
}

TEST_F(ZnXmlTest, MissingItemLeavesTheValueAlone) {
    Publish(1, "<Policy><Here>1</Here><Group><Inner>2</Inner></Group></Policy>");
    ZnXml xml;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
    const std::string longKey(300, 'k');
    for (const char* key : {"Missing", "here", "Her", "Here ", "Group", "Inner", "Group/", "",
                            static_cast<const char*>(nullptr), longKey.c_str()}) {
        std::string text = "old";
        int number = 42;
        EXPECT_FALSE(xml.GetXmlContent(key, text)) << (key != nullptr ? key : "null");
        EXPECT_FALSE(xml.GetXmlContent(key, number)) << (key != nullptr ? key : "null");
        EXPECT_EQ(text, "old");
        EXPECT_EQ(number, 42);
    }
}

TEST_F(ZnXmlTest, NestedItemIsReadByItsPath) {
    Publish(1, "<Policy><A><B><C>5</C></B></A></Policy>");
    ZnXml xml;
    int number = 0;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
    EXPECT_TRUE(xml.GetXmlContent("A/B/C", number));
    EXPECT_EQ(number, 5);
}

TEST_F(ZnXmlTest, IntegerIsDecimalWithOptionalSignAndBlanks) {
    const std::pair<const char*, int> cases[] = {
        {"0", 0},
        {"7", 7},
        {"-7", -7},
        {"+7", 7},
        {"-0", 0},
        {"007", 7},
        {"  7", 7},
        {"7  ", 7},
        {" \t\r\n-7\n\t ", -7},
        {"2147483647", INT_MAX},
        {"+2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
        {"00000000000000000000000000000000000000000000001", 1},
    };
    for (const auto& [text, expected] : cases) {
        Publish(1, std::string("<Policy><Item>") + text + "</Item></Policy>");
        ZnXml xml;
        int number = 42;
        ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
        EXPECT_TRUE(xml.GetXmlContent("Item", number)) << text;
        EXPECT_EQ(number, expected) << text;
    }
}

TEST_F(ZnXmlTest, TextThatIsNoIntegerLeavesTheValueAlone) {
    for (const char* text : {"",
                             " ",
                             "+",
                             "-",
                             "+-1",
                             "-+1",
                             "--1",
                             "++1",
                             "- 1",
                             "+ 1",
                             "1 2",
                             "1.0",
                             "1e3",
                             "0x10",
                             "a",
                             "1a",
                             "2147483648",
                             "-2147483649",
                             "99999999999999999999",
                             "\302\2401"}) {
        Publish(1, std::string("<Policy><Item>") + text + "</Item></Policy>");
        ZnXml xml;
        int number = 42;
        ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
        EXPECT_FALSE(xml.GetXmlContent("Item", number)) << text;
        EXPECT_EQ(number, 42) << text;
    }
}

TEST_F(ZnXmlTest, EveryItemOfALargePolicyIsFound) {
    constexpr int count = 20000;
    std::string document = "<Policy>";
    for (int i = 0; i < count; ++i) {
        const std::string name = "Item" + std::to_string(i);
        document.append("<").append(name).append(">").append(std::to_string(i));
        document.append("</").append(name).append(">");
    }
    Publish(1, document + "</Policy>");
    ZnXml xml;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
    for (int i = 0; i < count; ++i) {
        int number = -1;
        ASSERT_TRUE(xml.GetXmlContent(("Item" + std::to_string(i)).c_str(), number)) << i;
        ASSERT_EQ(number, i);
    }
    int number = 42;
    EXPECT_FALSE(xml.GetXmlContent("Item20000", number));
}

TEST_F(ZnXmlTest, ValuesOfEveryLengthAreReadWhole) {
    for (const std::size_t length : {1U, 511U, 1024U, 1025U, 60000U, 66000U, 1U << 20}) {
        const std::string value(length, 'v');
        Publish(1, "<Policy><Before>b</Before><Long>" + value + "</Long><After>a</After></Policy>");
        ZnXml xml;
        std::string text;
        ASSERT_TRUE(xml.LoadPolicyShareMemory(1));
        EXPECT_TRUE(xml.GetXmlContent("Long", text));
        EXPECT_TRUE(text == value) << length;
        EXPECT_TRUE(xml.GetXmlContent("After", text));
        EXPECT_EQ(text, "a");
        EXPECT_TRUE(xml.GetXmlContent("Before", text));
        EXPECT_EQ(text, "b");
    }
}

TEST_F(ZnXmlTest, LoadedPolicyOutlivesReplacementAndRemoval) {
    for (const std::size_t padding : {0U, 100000U}) {
        const std::string pad = "<Pad>" + std::string(padding, 'p') + "</Pad>";
        Publish(1, "<Policy>" + pad + "<Item>old</Item></Policy>");
        ZnXml before;
        ASSERT_TRUE(before.LoadPolicyShareMemory(1));
        Publish(1, "<Policy>" + pad + "<Item>new</Item></Policy>");
        ZnXml after;
        ASSERT_TRUE(after.LoadPolicyShareMemory(1));
        store_.Remove(1);
        std::string text;
        EXPECT_TRUE(before.GetXmlContent("Item", text));
        EXPECT_EQ(text, "old");
        EXPECT_TRUE(after.GetXmlContent("Item", text));
        EXPECT_EQ(text, "new");
        EXPECT_FALSE(after.LoadPolicyShareMemory(1));
    }
}

TEST_F(ZnXmlTest, ReaderNeedsOnlyReadPermission) {
    Publish(1, "<Policy><Item>5</Item></Policy>");
    ASSERT_EQ(chmod(FileOf(1).c_str(), 0444), 0);
    ASSERT_EQ(chmod(store_.Directory().c_str(), 0555), 0);
    ASSERT_EQ(chmod(directory_.Path().c_str(), 0755), 0);
    const ProcessResult result = RunInChild([] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) {
            _exit(1);
        }
        ZnXml xml;
        int number = 0;
        const bool read = xml.LoadPolicyShareMemory(1) && xml.GetXmlContent("Item", number);
        _exit(read && number == 5 ? 0 : 2);
    });
    chmod(store_.Directory().c_str(), 0755);
    EXPECT_TRUE(result.Succeeded()) << result;
}

TEST_F(ZnXmlTest, StoreWithTooLongAPathHasNoPolicies) {
    for (const std::size_t length : {PATH_MAX - 10U, 2U * PATH_MAX}) {
        setenv("ZN_POLICY_STORE", std::string(length, 'd').c_str(), 1);
        ZnXml xml;
        EXPECT_FALSE(xml.LoadPolicyShareMemory(1));
    }
}

TEST_F(ZnXmlTest, StoreVariableIsIgnoredWithRaisedPrivileges) {
    const auto outcome = RunRaisedProbe(directory_, [] {});
    if (!outcome) {
        GTEST_SKIP() << "this system gives a test's program no privileges";
    }
    EXPECT_THAT(outcome->out, EndsWith("\n/usr/local/PermanenceDataPath/PolicyStore\n"));
}

TEST_F(ZnXmlTest, UnusablePolicyIsNotLoaded) {
    Publish(1, "<Policy><A>1</A></Policy>");
    const std::string intact = ReadFile(FileOf(1));
    for (const std::string& contents :
         {std::string(), std::string("<Policy/>"), intact.substr(0, intact.size() - 1),
          intact + '\0', std::string(100000, 'x')}) {
        WriteFile(FileOf(1), contents);
        ZnXml xml;
        EXPECT_FALSE(xml.LoadPolicyShareMemory(1)) << contents.size();
    }
    std::filesystem::remove(FileOf(1));
    std::filesystem::create_directory(FileOf(1));
    ZnXml xml;
    EXPECT_FALSE(xml.LoadPolicyShareMemory(1)) << "directory";
}

// Reads the items of policy 1 with memory for `allocations` allocations. Returns false when that is
// not enough.
bool ReadWithLittleMemory(int allocations) {
    std::string text = "unchanged";
    int number = 42;
    bool loaded = false;
    bool readText = false;
    bool readNumber = false;
    {
        const FailingAllocations failing(allocations);
        ZnXml xml;
        loaded = xml.LoadPolicyShareMemory(1);
        readText = xml.GetXmlContent("Text", text);
        readNumber = xml.GetXmlContent("Number", number);
    }
    EXPECT_EQ(text, readText ? std::string(1000, 't') : "unchanged");
    EXPECT_EQ(number, readNumber ? 1 : 42);
    return loaded && readText && readNumber;
}

TEST_F(ZnXmlTest, LackOfMemoryIsAFailureAndLeavesTheValueUnchanged) {
    for (const std::size_t padding : {0U, 100000U}) {
        Publish(1, "<Policy><Text>" + std::string(1000, 't') + "</Text><Number>" +
                       std::string(500, '0') + "1</Number><Padding>" + std::string(padding, 'p') +
                       "</Padding></Policy>");
        EXPECT_FALSE(ReadWithLittleMemory(0));
        int allocations = 1;
        while (allocations < 100 && !ReadWithLittleMemory(allocations)) {
            ++allocations;
        }
        EXPECT_LT(allocations, 100);
    }
}

}  // namespace
