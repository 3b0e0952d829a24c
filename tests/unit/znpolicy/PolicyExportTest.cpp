#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "PolicyExport.h"
#include "Random.h"
#include "StoreTest.h"

namespace {

using testing::HasSubstr;
using testing::Lt;
using testing::SizeIs;
using testing::ThrowsMessage;

using Items = std::vector<PolicyStore::Item>;

Items Parse(const std::string& xml) {
    return PolicyStore::ParseDocument(xml, "document");
}

TEST(PolicyExport, WritesIndentedDocument) {
    EXPECT_EQ(ExportPolicy({{"A", "1"}, {"G/H/B", "x"}, {"G/H/C", ""}, {"G/D", "y"}, {"E", " "}}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Policy>\n"
              "    <A>1</A>\n"
              "    <G>\n"
              "        <H>\n"
              "            <B>x</B>\n"
              "            <C/>\n"
              "        </H>\n"
              "        <D>y</D>\n"
              "    </G>\n"
              "    <E> </E>\n"
              "</Policy>\n");
}

TEST(PolicyExport, WritesPolicyWithoutItems) {
    EXPECT_EQ(ExportPolicy({}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Policy>\n</Policy>\n");
}

TEST(PolicyExport, ReferencesReplaceWhatADocumentOrTerminalWouldMisread) {
    const struct {
        std::string value;
        std::string text;
    } cases[] = {
        {"a & b < c > d \" e ' f", "a &amp; b &lt; c &gt; d \" e ' f"},
        {"]]>", "]]&gt;"},
        {"\t\n", "\t\n"},
        {"\r\n", "&#xD;\n"},
        {"\x7F\xC2\x85", "&#x7F;&#x85;"},
        {RightToLeftOverride() + LineSeparator(), "&#x202E;&#x2028;"},
        {"\xC3\xA4\xE6\xBC\xA2\xF0\x9F\x98\x80", "\xC3\xA4\xE6\xBC\xA2\xF0\x9F\x98\x80"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(ExportPolicy({{"A", c.value}}), HasSubstr("<A>" + c.text + "</A>"));
    }
}

TEST(PolicyExport, KeepsEveryValue) {
    for (const std::string value : {"",
                                    " ",
                                    "\n",
                                    "\t x \t",
                                    "\r",
                                    "\r\n\r\r\n",
                                    "&amp;",
                                    "&#13;",
                                    "<![CDATA[x]]>",
                                    "]]>",
                                    "]]",
                                    "<!-- x -->",
                                    "<?x?>",
                                    "</A>",
                                    "\xEF\xBB\xBF",
                                    "\xC2\x80",
                                    "\xC2\xA0",
                                    "\xED\x9F\xBF",
                                    "\xEE\x80\x80",
                                    "\xEF\xBF\xBD",
                                    "\xF0\x90\x80\x80",
                                    "\xF4\x8F\xBF\xBF"}) {
        const Items items = {{"A", value}, {"G/A", value}};
        EXPECT_EQ(Parse(ExportPolicy(items)), items) << testing::PrintToString(value);
    }
}

TEST(PolicyExport, KeepsEveryNameAndOrder) {
    const std::string deep = "a/b/c/d/e/f/g/h/i/j/k/l/m/n/o/p/q/r/s/t/u/v/w/x/y/z";
    for (const Items& items :
         std::vector<Items>{{{"A", "1"}, {"A/B", "2"}, {"A/B/C", "3"}},
                            {{"A/B/C", "3"}, {"A/B", "2"}, {"A", "1"}},
                            {{"A/B", "1"}, {"C", "2"}, {"A/D", "3"}},
                            {{"A/B", "1"}, {"B/B", "2"}, {"A/B/B", "3"}},
                            {{"Policy", "1"}, {"Policy/Policy", "2"}},
                            {{"x:y", "1"}, {"_.-1", "2"}, {"\xC3\x84", "3"}, {"xml", "4"}},
                            {{deep, "1"}, {deep + "/" + deep, "2"}},
                            {{std::string(255, 'k'), "1"}}}) {
        EXPECT_EQ(Parse(ExportPolicy(items)), items);
    }
}

TEST(PolicyExport, OmitsLayoutRatherThanExceedTheSizeOfDocuments) {
    std::string group;
    for (int depth = 0; depth < 100; ++depth) {
        group += "g/";
    }
    Items items;
    for (int i = 0; i < 45000; ++i) {
        items.push_back({group + "i" + std::to_string(i), ""});
    }
    const std::string xml = ExportPolicy(items);
    EXPECT_THAT(xml, SizeIs(Lt(size_t{1} << 20)));
    EXPECT_EQ(Parse(xml), items);
}

TEST(PolicyExport, RefusesPolicyThatNoDocumentHas) {
    for (const Items& items : std::vector<Items>{{{"", "x"}},
                                                 {{"A//B", "x"}},
                                                 {{"/A", "x"}},
                                                 {{"A/", "x"}},
                                                 {{"A ", "x"}},
                                                 {{"A b='c'", "x"}},
                                                 {{"A><B", "x"}},
                                                 {{"A/><B", ""}},
                                                 {{"!--", "--"}},
                                                 {{"?A", ""}},
                                                 {{"1A", "x"}},
                                                 {{"A\xFF", "x"}},
                                                 {{std::string("A\0", 2), "x"}},
                                                 {{std::string(256, 'k'), "x"}},
                                                 {{"A", "x"}, {"A", "x"}},
                                                 {{"A", std::string("\0", 1)}},
                                                 {{"A", "\x1B"}},
                                                 {{"A", "\xFF"}},
                                                 {{"A", "\xED\xA0\x80"}},
                                                 {{"A", "\xEF\xBF\xBF"}},
                                                 {{"A", std::string(4 << 20, '&')}}}) {
        EXPECT_THROW(ExportPolicy(items), std::runtime_error)
            << testing::PrintToString(items.front().key);
    }
}

TEST(PolicyExport, SaysWhyItRefuses) {
    EXPECT_THAT(
        [] {
            ExportPolicy({{"A", "\xFF"}});
        },
        ThrowsMessage<std::runtime_error>("a value is not UTF-8"));
    EXPECT_THAT(
        [] {
            ExportPolicy({{"A ", "x"}});
        },
        ThrowsMessage<std::runtime_error>("an item has an invalid name"));
    EXPECT_THAT(
        [] {
            ExportPolicy({{"A", ""}, {"A", ""}});
        },
        ThrowsMessage<std::runtime_error>("a second item \"A\""));
}

// Documents with everything that they may contain.
class RandomDocument {
   public:
    explicit RandomDocument(Random& random) : random_(random) {}

    std::string Next() {
        keys_.clear();
        xml_ = random_.OneIn(4) ? "\xEF\xBB\xBF" : "";
        xml_ += "<Policy>";
        AddElements("", 0);
        return xml_ + "</Policy>" + Layout();
    }

   private:
    void AddElements(const std::string& group, size_t depth) {
        for (size_t left = random_.Below(6); left > 0; --left) {
            xml_ += Layout();
            const std::string name = random_.OneOf(kNames);
            if (depth < 8 && random_.OneIn(3)) {
                AddGroup(group + name + "/", name, depth);
            } else if (keys_.insert(group + name).second) {
                xml_ += "<" + name + ">" + Value() + "</" + name + ">";
            }
        }
        xml_ += Layout();
    }

    void AddGroup(const std::string& group, const std::string& name, size_t depth) {
        // An item in it keeps it from being an empty item.
        if (keys_.insert(group + "Item").second) {
            xml_ += "<" + name + "><Item>" + Value() + "</Item>";
            AddElements(group, depth + 1);
            xml_ += "</" + name + ">";
        }
    }

    std::string Value() {
        std::string value;
        for (size_t left = random_.Below(5); left > 0; --left) {
            value += random_.OneOf(kPieces);
        }
        return value;
    }

    std::string Layout() {
        static const std::vector<std::string> kLayout = {"", " ", "\r\n\t", "<!--c-->", "<?p i?>"};
        return random_.OneOf(kLayout);
    }

    inline static const std::vector<std::string> kNames = {
        "A", "B", "a", "A.b-1", "_", "x:y", "\xC3\x84", "Policy", "PolicyName"};
    inline static const std::vector<std::string> kPieces = {"x",
                                                            "60%",
                                                            " ",
                                                            "\n",
                                                            "\t",
                                                            "\r",
                                                            "\r\n",
                                                            "&#13;",
                                                            "&#9;",
                                                            "&#10;",
                                                            "&lt;",
                                                            "&gt;",
                                                            "&amp;",
                                                            "&quot;",
                                                            "&apos;",
                                                            "\"",
                                                            "'",
                                                            "]]",
                                                            "]]&gt;",
                                                            "<![CDATA[]]]]><![CDATA[>]]>",
                                                            "<![CDATA[ <&>\r\n ]]>",
                                                            "<![CDATA[]]>",
                                                            "<!-- c -->",
                                                            "<?p i?>",
                                                            "&#x7F;",
                                                            "\xC2\x85",
                                                            "&#x202E;",
                                                            "\xE2\x80\xA8",
                                                            "\xEF\xBB\xBF",
                                                            "\xC3\xA4",
                                                            "\xE6\xBC\xA2",
                                                            "\xF0\x9F\x98\x80",
                                                            "&#x10FFFF;"};

    Random& random_;
    std::string xml_;
    std::set<std::string> keys_;
};

class PolicyExportProperty : public StoreTest {};

TEST_F(PolicyExportProperty, ExportedDocumentsPublishToTheSamePolicy) {
    Random random;
    RandomDocument document(random);
    for (int i = 0; i < 2000; ++i) {
        const std::string xml = document.Next();
        const Items items = Parse(xml);
        ASSERT_EQ(Parse(ExportPolicy(items)), items) << xml;
    }
    for (int i = 0; i < 100; ++i) {
        Publish(1, document.Next());
        Publish(2, ExportPolicy(store_.Read(1)));
        ASSERT_EQ(ReadFile(FileOf(2)), ReadFile(FileOf(1)));
    }
}

}  // namespace
