// The policy store: documents that are published, policies that are read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "PolicyStore.h"
#include "RaisedProbe.h"
#include "TemporaryDirectory.h"
#include "ZnXml.h"

static bool operator==(const PolicyStore::Item& left, const PolicyStore::Item& right) {
    return left.key == right.key && left.value == right.value;
}

static void PrintTo(const PolicyStore::Item& item, std::ostream* out) {
    *out << item.key << "=" << testing::PrintToString(item.value);
}

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using Item = PolicyStore::Item;

// A store of the test's own, which is also the one that ZnXml reads.
class StoreTest : public testing::Test {
   protected:
    StoreTest() : store_(directory_ / "store") {
        setenv("ZN_POLICY_STORE", store_.Directory().c_str(), 1);
    }

    ~StoreTest() override {
        unsetenv("ZN_POLICY_STORE");
    }

    void Publish(int id, const std::string& xml) {
        store_.Publish(id, xml, "policy.xml");
    }

    std::string PolicyFile(int id) const {
        return store_.Directory() + "/" + std::to_string(id) + ".cdb";
    }

    std::vector<std::string> FilesInStore() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(store_.Directory())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    const TemporaryDirectory directory_;
    const PolicyStore store_;
};

std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const PolicyStore::Error& error) {
        return error.what();
    }
    return "no error";
}

// Runs `action` in a process of its own; its result is the process's exit status.
int StatusOfChild(const std::function<int()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(action());
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

mode_t ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

// --- Reading items ---

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
    EXPECT_EQ(store_.Read(1).size(), std::size_t{count});
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

TEST_F(ZnXmlTest, ReaderNeedsNothingButReadPermission) {
    Publish(1, "<Policy><Item>5</Item></Policy>");
    ASSERT_EQ(chmod(PolicyFile(1).c_str(), 0444), 0);
    ASSERT_EQ(chmod(store_.Directory().c_str(), 0555), 0);
    ASSERT_EQ(chmod(directory_.Path().c_str(), 0755), 0);
    const int status = StatusOfChild([] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) {
            return 1;
        }
        ZnXml xml;
        int number = 0;
        const bool read = xml.LoadPolicyShareMemory(1) && xml.GetXmlContent("Item", number);
        return read && number == 5 ? 0 : 2;
    });
    chmod(store_.Directory().c_str(), 0755);
    EXPECT_EQ(status, 0);
}

TEST_F(ZnXmlTest, StoreWithTooLongAPathHasNoPolicies) {
    for (const std::size_t length : {PATH_MAX - 10U, 2U * PATH_MAX}) {
        setenv("ZN_POLICY_STORE", std::string(length, 'd').c_str(), 1);
        ZnXml xml;
        EXPECT_FALSE(xml.LoadPolicyShareMemory(1));
    }
}

TEST_F(ZnXmlTest, EmptyStoreVariableCountsAsUnset) {
    EXPECT_EQ(PolicyStore::DefaultDirectory(), store_.Directory());
    setenv("ZN_POLICY_STORE", "", 1);
    EXPECT_EQ(PolicyStore::DefaultDirectory(), "/usr/local/PermanenceDataPath/PolicyStore");
    unsetenv("ZN_POLICY_STORE");
    EXPECT_EQ(PolicyStore::DefaultDirectory(), "/usr/local/PermanenceDataPath/PolicyStore");
}

TEST_F(ZnXmlTest, StoreVariableIsIgnoredWithRaisedPrivileges) {
    const auto outcome = RunRaisedProbe(directory_, [] {});
    if (!outcome) {
        GTEST_SKIP() << "this system gives a test's program no privileges";
    }
    EXPECT_THAT(outcome->out, EndsWith("\n/usr/local/PermanenceDataPath/PolicyStore\n"));
}

// --- Files that are not policies ---

class UnusablePolicyTest : public StoreTest {
   protected:
    UnusablePolicyTest() {
        Publish(1, "<Policy><A>1</A><B>2</B><C>3</C></Policy>");
        intact_ = ReadFile(PolicyFile(1));
    }

    // Whether the file in place of the policy is loaded.
    static bool IsLoaded() {
        ZnXml xml;
        return xml.LoadPolicyShareMemory(1);
    }

    // Reads all there is, whatever it is.
    void ReadEverything() {
        ZnXml xml;
        if (xml.LoadPolicyShareMemory(1)) {
            for (const char* key : {"A", "B", "C", "Long", "Missing"}) {
                std::string text;
                xml.GetXmlContent(key, text);
            }
        }
        ErrorOf([this] { store_.Read(1); });
    }

    // Writes one byte of the intact file with some of its bits turned over.
    void DamageByte(std::size_t position, int change) {
        std::fstream file(PolicyFile(1), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(position));
        file.put(static_cast<char>(intact_[position] ^ change));
        file.flush();
        ASSERT_TRUE(file.good());
    }

    std::string intact_;
};

TEST_F(UnusablePolicyTest, TruncatedFileIsNotLoaded) {
    ASSERT_TRUE(IsLoaded());
    for (std::size_t size = intact_.size(); size-- > 0;) {
        std::filesystem::resize_file(PolicyFile(1), size);
        ASSERT_FALSE(IsLoaded()) << size;
    }
}

TEST_F(UnusablePolicyTest, FileWithBytesAddedIsNotLoaded) {
    WriteFile(PolicyFile(1), intact_ + '\0');
    EXPECT_FALSE(IsLoaded());
}

TEST_F(UnusablePolicyTest, ForeignFileIsNotLoaded) {
    for (const std::string& contents :
         {std::string(intact_.size(), '\0'), std::string(intact_.size(), 'x'),
          std::string(100000, '\xFF'), std::string("<Policy><A>1</A></Policy>")}) {
        WriteFile(PolicyFile(1), contents);
        EXPECT_FALSE(IsLoaded());
    }
}

TEST_F(UnusablePolicyTest, OtherFormatVersionIsNotLoaded) {
    const std::size_t version = 2048 + 8 + 9;
    ASSERT_EQ(intact_[version], 1);
    intact_[version] = 2;
    WriteFile(PolicyFile(1), intact_);
    EXPECT_FALSE(IsLoaded());
}

TEST_F(UnusablePolicyTest, OtherKindOfFileIsNotLoaded) {
    std::filesystem::remove(PolicyFile(1));
    EXPECT_FALSE(IsLoaded()) << "missing";
    std::filesystem::create_directory(PolicyFile(1));
    EXPECT_FALSE(IsLoaded()) << "directory";
    std::filesystem::remove(PolicyFile(1));
    ASSERT_EQ(mkfifo(PolicyFile(1).c_str(), 0644), 0);
    EXPECT_FALSE(IsLoaded()) << "pipe without a writer";
    std::filesystem::remove(PolicyFile(1));
    std::filesystem::create_symlink("/dev/zero", PolicyFile(1));
    EXPECT_FALSE(IsLoaded()) << "device";
    std::filesystem::remove(PolicyFile(1));
    std::filesystem::create_symlink("nowhere", PolicyFile(1));
    EXPECT_FALSE(IsLoaded()) << "dangling link";
}

TEST_F(UnusablePolicyTest, UnusableFileIsAnErrorForTheStore) {
    WriteFile(PolicyFile(1), "x");
    EXPECT_EQ(ErrorOf([this] { store_.Read(1); }),
              "not a policy file, or a damaged one: " + PolicyFile(1));
}

// A file that says it is whole but is damaged inside gives wrong answers at worst.
TEST_F(UnusablePolicyTest, EveryDamagedByteIsHarmless) {
    for (std::size_t i = 0; i < intact_.size(); ++i) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            DamageByte(i, change);
            ReadEverything();
            DamageByte(i, 0);
        }
    }
    EXPECT_EQ(ReadFile(PolicyFile(1)), intact_);
}

TEST_F(UnusablePolicyTest, EveryDamagedByteOfALargeFileIsHarmless) {
    const std::string padding(70000, 'p');
    Publish(1, "<Policy><A>1</A><Long>" + padding + "</Long><B>2</B><C>3</C></Policy>");
    intact_ = ReadFile(PolicyFile(1));
    const std::size_t paddingStart = intact_.find(padding);
    for (std::size_t i = 0; i < intact_.size(); ++i) {
        if (i == paddingStart) {
            i += padding.size();
        }
        DamageByte(i, 0xFF);
        ReadEverything();
        DamageByte(i, 0);
    }
    EXPECT_EQ(ReadFile(PolicyFile(1)), intact_);
}

// --- Policy documents ---

TEST(PolicyDocumentTest, ElementsAreItems) {
    struct {
        const char* xml;
        std::vector<Item> items;
    } const cases[] = {
        {"<Policy/>", {}},
        {"<Policy></Policy>", {}},
        {"<Policy>\n  <A>1</A>\n  <B>2</B>\n</Policy>\n", {{"A", "1"}, {"B", "2"}}},
        {"<Policy><B>1</B><A>2</A></Policy>", {{"B", "1"}, {"A", "2"}}},
        {"<Policy><A></A><B/></Policy>", {{"A", ""}, {"B", ""}}},
        {"<Policy><A>  </A><B> b\n</B></Policy>", {{"A", "  "}, {"B", " b\n"}}},
        {"<Policy><A>a\r\nb\rc</A></Policy>", {{"A", "a\r\nb\rc"}}},
        {"<Policy><a.b-c_1:d\xC3\xA4>1</a.b-c_1:d\xC3\xA4></Policy>", {{"a.b-c_1:d\xC3\xA4", "1"}}},
        {"<Policy><A><B>1</B><C><D>2</D></C></A></Policy>", {{"A/B", "1"}, {"A/C/D", "2"}}},
        {"<Policy><A><B>1</B></A><A><C>2</C></A></Policy>", {{"A/B", "1"}, {"A/C", "2"}}},
        {"<Policy><A><![CDATA[ <&]] ]]></A></Policy>", {{"A", " <&]] "}}},
        {"<Policy><A> a<![CDATA[<b>]]>c<![CDATA[ ]]></A></Policy>", {{"A", " a<b>c "}}},
        {"<Policy><A><![CDATA[&amp;]]>&amp;</A></Policy>", {{"A", "&amp;&"}}},
        {"<Policy><A>&lt;&gt;&amp;&quot;&apos;</A></Policy>", {{"A", "<>&\"'"}}},
        {"<Policy><A>&#65;&#x42;&#x6a;&#x6A;&#9;&#xE4;&#x20AC;&#x1F600;</A></Policy>",
         {{"A", "ABjj\t\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}}},
        {"<Policy><A>&amp;lt;</A></Policy>", {{"A", "&lt;"}}},
        {"<Policy><A>a<!-- c -->b<?p i?>c</A></Policy>", {{"A", "abc"}}},
        {"<Policy><A><!-- c --></A></Policy>", {{"A", ""}}},
        {"<!-- - --><?p?><Policy><!--<A>1</A>--><?p?></Policy><!-- --> <?p?>", {}},
        {"<?xml version=\"1.0\"?><Policy/>", {}},
        {"<?xml version='1.0' encoding='utf-8'?>\n<Policy/>", {}},
        {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?><Policy><A>1</A></Policy>",
         {{"A", "1"}}},
        {"<Policy ><A >1</A\n></Policy\t>", {{"A", "1"}}},
        {"<Policy><A>]] > ]></A></Policy>", {{"A", "]] > ]>"}}},
    };
    for (const auto& [xml, items] : cases) {
        EXPECT_EQ(PolicyStore::ParseDocument(xml, "p.xml"), items) << xml;
    }
}

TEST(PolicyDocumentTest, EverythingElseIsRefusedWithItsPlace) {
    using namespace std::string_literals;
    const std::pair<std::string, const char*> cases[] = {
        // What is not XML.
        {"", "1:1: no root element"},
        {" \n ", "2:2: no root element"},
        {"<!-- c -->", "1:11: no root element"},
        {"Policy", "1:1: text outside of an item"},
        {"<Policy>", "1:9: Start-end tags mismatch"},
        {"<Policy><A>1</B></Policy>", "1:15: Start-end tags mismatch"},
        {"<Policy><A></Policy>", "1:14: Start-end tags mismatch"},
        {"</Policy>", "1:3: Start-end tags mismatch"},
        {"<Policy/></Policy>", "1:12: Start-end tags mismatch"},
        {"<Policy", "1:8: Error parsing start element tag"},
        {"<Policy>\n<A></A></Policy", "2:16: Error parsing end element tag"},
        {"<Policy/>\n<", "2:2: Could not determine tag type"},
        {"<Policy>< A/></Policy>", "1:10: Could not determine tag type"},
        {"<Policy><1A/></Policy>", "1:10: Could not determine tag type"},
        {"<Policy><A / ></Policy>", "1:13: Error parsing start element tag"},
        {"<Policy><A b></A></Policy>", "1:14: Error parsing element attribute"},
        {"<Policy><!-- </Policy>", "1:23: Error parsing comment"},
        {"<Policy><![CDATA[ </Policy>", "1:28: Error parsing CDATA section"},
        {"<Policy><?p </Policy>",
         "1:22: Error parsing document declaration/processing instruction"},
        {"<Policy><A>a & b</A></Policy>",
         R"(1:14: "&" that begins no known reference (write "&amp;"))"},
        {"<Policy><A>a&amp</A></Policy>",
         R"(1:13: "&" that begins no known reference (write "&amp;"))"},
        {"<Policy><A>\n&nbsp;</A></Policy>",
         R"(2:1: "&" that begins no known reference (write "&amp;"))"},
        {"<Policy>&lt </Policy>", R"(1:9: "&" that begins no known reference (write "&amp;"))"},
        {"<Policy><A>]]></A></Policy>", R"(1:12: "]]>" in text)"},
        {"<Policy><!-- a -- b --></Policy>", R"(1:13: "--" in a comment)"},
        {"<Policy><!-- a ---></Policy>", R"(1:13: "--" in a comment)"},
        {" <?xml version='1.0'?><Policy/>", "1:4: an XML declaration that is not at the beginning"},
        {"<?xml version='1.0'?><?xml version='1.0'?><Policy/>",
         "1:24: an XML declaration that is not at the beginning"},
        {"<Policy/><?xml version='1.0'?>", "1:12: an XML declaration that is not at the beginning"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><Policy/>",
         "1:3: the declared encoding is not UTF-8"},
        // Characters.
        {"<Policy>\n<A>\xC3\xA4\xFF</A></Policy>", "2:5: not valid UTF-8"},
        {"<Policy><A>\xC3</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy><A>\xC0\x80</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy><A>\xE0\x80\x80</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy><A>\xED\xA0\x80</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy><A>\xF0\x80\x80\x80</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy><A>\xF4\x90\x80\x80</A></Policy>", "1:12: not valid UTF-8"},
        {"<Policy/>\xE4", "1:10: not valid UTF-8"},
        {"<Policy><A>a\0b</A></Policy>"s, "1:13: a character that XML does not allow"},
        {"<Policy/>\0"s, "1:10: a character that XML does not allow"},
        {"<Policy><A>\x1B[0m</A></Policy>", "1:12: a character that XML does not allow"},
        {"<Policy><A>\xEF\xBF\xBE</A></Policy>", "1:12: a character that XML does not allow"},
        {"<\0P\0o\0l\0i\0c\0y\0/\0>\0"s, "1:2: a character that XML does not allow"},
        // Documents that are not policies.
        {"<policy/>", "1:1: the root element is not \"Policy\""},
        {"\n <Other><A>1</A></Other>", "2:2: the root element is not \"Policy\""},
        {"<Policy/>\n<Policy/>", "2:1: a second root element"},
        {"a<Policy/>", "1:1: text outside of an item"},
        {"<Policy/>\n a", "2:2: text outside of an item"},
        {"<Policy/>&amp;", "1:10: text outside of an item"},
        {"<Policy/><![CDATA[ ]]>", "1:19: text outside the root element"},
        {"<Policy>text</Policy>", "1:9: text outside of an item"},
        {"<Policy>\n  text<A>1</A></Policy>", "2:3: text outside of an item"},
        {"<Policy><A>text<B>1</B></A></Policy>", "1:12: text outside of an item"},
        {"<Policy><A><B>1</B><![CDATA[x]]></A></Policy>", "1:29: text outside of an item"},
        {"<!DOCTYPE Policy><Policy/>", "1:11: a document type is not allowed"},
        {"<!DOCTYPE Policy [<!ENTITY a 'b'>]><Policy><A>&a;</A></Policy>",
         "1:11: a document type is not allowed"},
        {"<Policy a='1'/>", "1:1: element \"Policy\" has an attribute"},
        {"<Policy>\n <A b=\"1\">1</A></Policy>", "2:2: element \"A\" has an attribute"},
        {"<Policy><A b=\"1\"><B/></A></Policy>", "1:9: element \"A\" has an attribute"},
        {"<Policy>\n<A>1</A>\n<A>2</A></Policy>", "3:1: a second item \"A\""},
        {"<Policy><A><B/></A><A><B/></A></Policy>", "1:23: a second item \"A/B\""},
    };
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(ErrorOf([&xml = xml] { PolicyStore::ParseDocument(xml, "p.xml"); }),
                  std::string("p.xml:") + message)
            << xml;
    }
}

TEST(PolicyDocumentTest, ReferenceToACharacterThatXmlDoesNotAllowIsRefused) {
    for (const char* reference :
         {"&#0;",     "&#x0;",      "&#8;",           "&#x1F;", "&#xD800;", "&#xDFFF;", "&#xFFFE;",
          "&#xFFFF;", "&#x110000;", "&#99999999999;", "&#;",    "&#x;",     "&#X41;",   "&#-65;",
          "&#+65;",   "&# 65;",     "&#65 ;",         "&#6A;",  "&;",       "& amp;",   "&AMP;"}) {
        EXPECT_THAT(ErrorOf([reference] {
                        PolicyStore::ParseDocument(
                            std::string("<Policy><A>") + reference + "</A></Policy>", "p.xml");
                    }),
                    HasSubstr("p.xml:1:12: \"&\" that begins no known reference"))
            << reference;
    }
}

TEST(PolicyDocumentTest, ColumnsCountCharacters) {
    EXPECT_THAT(ErrorOf([] {
                    PolicyStore::ParseDocument(
                        "\xEF\xBB\xBF<Policy><A>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80&</A></Policy>",
                        "p.xml");
                }),
                HasSubstr("p.xml:1:15: "));
}

TEST(PolicyDocumentTest, KeyHasAtMost255Bytes) {
    const auto document = [](std::size_t inner) {
        const std::string name(inner, 'n');
        return "<Policy><Outer><" + name + ">1</" + name + "></Outer></Policy>";
    };
    const std::size_t longest = PolicyStore::kMaxKeyLength - std::string("Outer/").size();
    EXPECT_THAT(PolicyStore::ParseDocument(document(longest), "p.xml"),
                ElementsAre(Item{"Outer/" + std::string(longest, 'n'), "1"}));
    EXPECT_EQ(ErrorOf([&] { PolicyStore::ParseDocument(document(longest + 1), "p.xml"); }),
              "p.xml:1:16: the item's name is longer than 255 bytes");
}

TEST(PolicyDocumentTest, NestingIsBounded) {
    const auto document = [](int depth) {
        std::string xml;
        for (int i = 0; i < depth; ++i) {
            xml += "<a>";
        }
        for (int i = 0; i < depth; ++i) {
            xml += "</a>";
        }
        return "<Policy>" + xml + "</Policy>";
    };
    EXPECT_EQ(PolicyStore::ParseDocument(document(128), "p.xml").size(), 1U);
    EXPECT_EQ(ErrorOf([&] { PolicyStore::ParseDocument(document(1000000), "p.xml"); }),
              "p.xml:1:393: the item's name is longer than 255 bytes");
}

TEST(PolicyDocumentTest, DocumentHasAtMost16MiB) {
    std::string document = "<Policy/>";
    document.resize(PolicyStore::kMaxDocumentSize, ' ');
    EXPECT_THAT(PolicyStore::ParseDocument(document, "p.xml"), IsEmpty());
    document += ' ';
    EXPECT_THAT(ErrorOf([&] { PolicyStore::ParseDocument(document, "p.xml"); }),
                HasSubstr("the document is larger than 16 MiB"));
}

// --- Publishing ---

using PolicyStoreTest = StoreTest;

TEST_F(PolicyStoreTest, PolicyIsReadInPublishedOrder) {
    EXPECT_EQ(store_.Publish(1, "<Policy><Z>1</Z><A><B>2</B></A><M/></Policy>", "p.xml"), 3U);
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"Z", "1"}, Item{"A/B", "2"}, Item{"M", ""}));
}

TEST_F(PolicyStoreTest, NewPolicyReplacesTheOldOneWhole) {
    Publish(1, "<Policy><Old>1</Old><Both>2</Both></Policy>");
    Publish(1, "<Policy><Both>3</Both></Policy>");
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"Both", "3"}));
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, RefusedDocumentLeavesThePublishedPolicy) {
    Publish(1, "<Policy><A>1</A></Policy>");
    EXPECT_EQ(ErrorOf([this] { Publish(1, "<Policy><A>2</A></Polic>"); }),
              "policy.xml:1:19: Start-end tags mismatch");
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "1"}));
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, RefusedDocumentDoesNotCreateAStore) {
    EXPECT_NE(ErrorOf([this] { Publish(1, "<Policy>"); }), "no error");
    EXPECT_FALSE(std::filesystem::exists(store_.Directory()));
}

TEST_F(PolicyStoreTest, StoreAndPoliciesAreReadableWhateverTheUmask) {
    const mode_t umaskBefore = umask(0077);
    const PolicyStore store(directory_ / "a/b/store/");
    store.Publish(1, "<Policy/>", "p.xml");
    umask(umaskBefore);
    EXPECT_EQ(ModeOf(directory_ / "a"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b/store"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b/store/1.cdb"), 0644U);
}

TEST_F(PolicyStoreTest, ExistingStoreKeepsItsMode) {
    ASSERT_EQ(mkdir(store_.Directory().c_str(), 0700), 0);
    Publish(1, "<Policy/>");
    EXPECT_EQ(ModeOf(store_.Directory()), 0700U);
}

TEST_F(PolicyStoreTest, FullDiskLeavesThePublishedPolicyAndNoTemporary) {
    Publish(1, "<Policy><A>1</A></Policy>");
    const std::string large = "<Policy><A>" + std::string(1 << 20, 'x') + "</A></Policy>";
    for (const rlim_t limit : {0U, 2000U, 5000U, 500000U, 1U << 20}) {
        const int status = StatusOfChild([&] {
            if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR) {
                return 2;
            }
            const rlimit fileSize = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &fileSize);
            const std::string message = ErrorOf([&] { Publish(1, large); });
            return message == "cannot write " + PolicyFile(1) + ": File too large" ? 0 : 1;
        });
        EXPECT_EQ(status, 0) << limit;
        EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "1"}));
        EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    }
}

TEST_F(PolicyStoreTest, StoreThatIsNoDirectoryIsAnError) {
    WriteFile(store_.Directory(), "");
    EXPECT_THAT(ErrorOf([this] { Publish(1, "<Policy/>"); }), HasSubstr("Not a directory"));
    EXPECT_EQ(ErrorOf([this] { store_.List(); }),
              "cannot read the directory " + store_.Directory() + ": Not a directory");
    const PolicyStore below(store_.Directory() + "/below");
    EXPECT_EQ(ErrorOf([&] { below.Publish(1, "<Policy/>", "p.xml"); }),
              "cannot create the directory " + below.Directory() + ": Not a directory");
}

TEST_F(PolicyStoreTest, PolicyThatCannotBeReplacedIsAnErrorAndLeavesNoTemporary) {
    std::filesystem::create_directories(PolicyFile(1));
    EXPECT_EQ(ErrorOf([this] { Publish(1, "<Policy/>"); }),
              "cannot replace " + PolicyFile(1) + ": Is a directory");
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, ListNamesTheIdsInOrder) {
    EXPECT_THAT(store_.List(), IsEmpty());
    for (const int id : {10, 9, -3, INT_MAX, 0, INT_MIN}) {
        Publish(id, "<Policy/>");
    }
    for (const char* name : {"1.cdb.aBc123", "007.cdb", "+1.cdb", "1.txt", "cdb", "x.cdb", ".cdb",
                             "-0.cdb", "2147483648.cdb", "1 .cdb"}) {
        WriteFile(store_.Directory() + "/" + name, "");
    }
    EXPECT_THAT(store_.List(), ElementsAre(INT_MIN, -3, 0, 9, 10, INT_MAX));
}

TEST_F(PolicyStoreTest, RemovedPolicyIsGone) {
    Publish(1, "<Policy/>");
    store_.Remove(1);
    EXPECT_THAT(store_.List(), IsEmpty());
    ZnXml xml;
    EXPECT_FALSE(xml.LoadPolicyShareMemory(1));
}

TEST_F(PolicyStoreTest, PolicyThatDoesNotExistIsAnError) {
    const std::string message = "no policy for id 5 in " + store_.Directory();
    EXPECT_EQ(ErrorOf([this] { store_.Read(5); }), message);
    EXPECT_EQ(ErrorOf([this] { store_.Remove(5); }), message);
}

// --- Several at a time ---

// A policy whose 50 items all have the same value.
std::string UniformPolicy(const std::string& value) {
    std::string document = "<Policy>";
    for (int i = 0; i < 50; ++i) {
        const std::string name = "Item" + std::to_string(i);
        document.append("<").append(name).append(">").append(value);
        document.append("</").append(name).append(">");
    }
    return document + "</Policy>";
}

TEST_F(PolicyStoreTest, ReadersSeeTheOldPolicyOrTheNewOneAndNeverAMixture) {
    Publish(1, UniformPolicy("0"));
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::atomic<int> mixtures{0};
    const auto read = [&] {
        while (!done) {
            ZnXml xml;
            int first = -1;
            int last = -1;
            if (!xml.LoadPolicyShareMemory(1) || !xml.GetXmlContent("Item0", first) ||
                !xml.GetXmlContent("Item49", last)) {
                ++failures;
            }
            mixtures += first == last ? 0 : 1;
        }
    };
    std::thread reader1(read);
    std::thread reader2(read);
    for (int i = 1; i <= 50; ++i) {
        Publish(1, UniformPolicy(std::to_string(i)));
    }
    done = true;
    reader1.join();
    reader2.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(mixtures, 0);
}

TEST_F(PolicyStoreTest, TwoPublishersLeaveOnePolicyWholeAndNoTemporary) {
    const auto publish = [this](const std::string& value) {
        for (int i = 0; i < 20; ++i) {
            Publish(1, UniformPolicy(value));
        }
    };
    std::thread publisher1(publish, "a");
    std::thread publisher2(publish, "b");
    publisher1.join();
    publisher2.join();
    const std::vector<Item> items = store_.Read(1);
    ASSERT_EQ(items.size(), 50U);
    for (const Item& item : items) {
        EXPECT_EQ(item.value, items[0].value);
    }
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

}  // namespace
