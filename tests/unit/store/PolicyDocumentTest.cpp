#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "PolicyDocument.h"
#include "StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Item = PolicyStore::Item;

std::vector<Item> Parse(const std::string& xml) {
    return PolicyStore::ParseDocument(xml, "p.xml");
}

// Why `xml` is refused.
std::string RefusalOf(const std::string& xml) {
    return ErrorOf([&] { Parse(xml); });
}

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
        EXPECT_EQ(Parse(xml), items) << xml;
    }
}

TEST(PolicyDocumentTest, LineEndsStayAsWritten) {
    struct {
        const char* xml;
        const char* value;
    } const cases[] = {
        {"<Policy><A>a\nb\r\nc\rd</A></Policy>", "a\nb\r\nc\rd"},
        {"<Policy><A>\r</A></Policy>", "\r"},
        {"<Policy><A>\r\r\n\n\r</A></Policy>", "\r\r\n\n\r"},
        {"<Policy><A><![CDATA[a\r\nb\rc\n]]></A></Policy>", "a\r\nb\rc\n"},
        {"<Policy><A>\r<![CDATA[\r]]>\r</A></Policy>", "\r\r\r"},
        {"<Policy><A>\r<!-- \r -->\n</A></Policy>", "\r\n"},
        {"<Policy><A>&#13;&#10;&#xD;</A></Policy>", "\r\n\r"},
        {"<Policy><A>&#13;\r\n&#10;\r</A></Policy>", "\r\r\n\n\r"},
    };
    for (const auto& [xml, value] : cases) {
        EXPECT_THAT(Parse(xml), ElementsAre(Item{"A", value})) << testing::PrintToString(xml);
    }
}

// Expat reads the text of a large document in portions.
TEST(PolicyDocumentTest, LineEndsStayAsWrittenAtEveryPosition) {
    for (std::size_t length = 0; length < 5000; ++length) {
        const std::string value = std::string(length, 'v') + "\r\n\rend";
        ASSERT_THAT(Parse("<Policy><A>" + value + "</A></Policy>"), ElementsAre(Item{"A", value}));
    }
}

TEST(PolicyDocumentTest, ValueMayConsistOfManyPieces) {
    constexpr int kPieces = 200000;
    std::string xml = "<Policy><A>";
    std::string value;
    for (int i = 0; i < kPieces; ++i) {
        xml += "\r\n&#65;<![CDATA[<]]>";
        value += "\r\nA<";
    }
    const auto items = Parse(xml + "</A></Policy>");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_TRUE(items[0].value == value);
}

TEST(PolicyDocumentTest, MalformedDocumentIsRefusedWithItsPlace) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "1:1: no root element"},
        {" \n ", "2:2: no root element"},
        {"<!-- c -->", "1:11: no root element"},
        {"Policy", "1:1: syntax error"},
        {"a<Policy/>", "1:2: not well-formed (invalid token)"},
        {"<Policy>", "1:9: an element is not closed"},
        {"<Policy>\n<A>1</A>\n", "3:1: an element is not closed"},
        {"<Policy><A>1</B></Policy>", "1:15: mismatched tag"},
        {"<Policy><A></Policy>", "1:14: mismatched tag"},
        {"</Policy>", "1:2: not well-formed (invalid token)"},
        {"<Policy/></Policy>", "1:11: not well-formed (invalid token)"},
        {"<Policy", "1:1: unclosed token"},
        {"<Policy>\n<A></A></Policy", "2:8: unclosed token"},
        {"<Policy/>\n<", "2:1: unclosed token"},
        {"<Policy>< A/></Policy>", "1:10: not well-formed (invalid token)"},
        {"<Policy><1A/></Policy>", "1:10: not well-formed (invalid token)"},
        {"<Policy><A / ></Policy>", "1:13: not well-formed (invalid token)"},
        {"<Policy><A b></A></Policy>", "1:13: not well-formed (invalid token)"},
        {"<Policy><A b='1' b='2'/></Policy>", "1:18: duplicate attribute"},
        {"<Policy><!-- </Policy>", "1:9: unclosed token"},
        {"<Policy><A><![CDATA[ </A></Policy>", "1:35: unclosed CDATA section"},
        {"<Policy><?p </Policy>", "1:9: unclosed token"},
        {"<Policy><A>]]></A></Policy>", "1:14: not well-formed (invalid token)"},
        {"<Policy><!-- a -- b --></Policy>", "1:18: not well-formed (invalid token)"},
        {"<Policy><!-- a ---></Policy>", "1:18: not well-formed (invalid token)"},
        {" <?xml version='1.0'?><Policy/>", "1:2: XML or text declaration not at start of entity"},
        {"<?xml version='1.0'?><?xml version='1.0'?><Policy/>",
         "1:22: XML or text declaration not at start of entity"},
        {"<Policy/><?xml version='1.0'?>", "1:10: junk after document element"},
        {"<?xml encoding='UTF-8'?><Policy/>", "1:7: XML declaration not well-formed"},
        {"<Policy/>\n<Policy/>", "2:1: junk after document element"},
        {"<Policy/>\n a", "2:2: junk after document element"},
        {"<Policy/><![CDATA[ ]]>", "1:10: junk after document element"},
    };
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(RefusalOf(xml), std::string("p.xml:") + message) << xml;
    }
}

TEST(PolicyDocumentTest, MalformedReferenceIsRefusedWithItsPlace) {
    const std::pair<const char*, const char*> cases[] = {
        {"<Policy><A>a & b</A></Policy>", "1:15: not well-formed (invalid token)"},
        {"<Policy><A>a&amp</A></Policy>", "1:17: not well-formed (invalid token)"},
        {"<Policy>&lt </Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy/>&amp;", "1:10: not well-formed (invalid token)"},
        {"<Policy><A>\n&nbsp;</A></Policy>", "2:1: undefined entity"},
        {"<Policy><A>&AMP;</A></Policy>", "1:12: undefined entity"},
        {"<Policy><A>&#0;</A></Policy>", "1:12: reference to invalid character number"},
    };
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(RefusalOf(xml), std::string("p.xml:") + message) << xml;
    }
}

TEST(PolicyDocumentTest, ReferenceToACharacterThatXmlDoesNotAllowIsRefused) {
    for (const char* reference :
         {"&#0;",     "&#x0;",      "&#8;",           "&#x1F;", "&#xD800;", "&#xDFFF;", "&#xFFFE;",
          "&#xFFFF;", "&#x110000;", "&#99999999999;", "&#;",    "&#x;",     "&#X41;",   "&#-65;",
          "&#+65;",   "&# 65;",     "&#65 ;",         "&#6A;",  "&;",       "& amp;",   "&%a;"}) {
        EXPECT_THAT(RefusalOf(std::string("<Policy><A>") + reference + "</A></Policy>"),
                    HasSubstr("p.xml:1:1"))
            << reference;
    }
}

TEST(PolicyDocumentTest, BytesThatAreNotTextAreRefusedWithTheirPlace) {
    using namespace std::string_literals;
    const std::pair<std::string, const char*> cases[] = {
        // Invalid UTF-8.
        {"<Policy>\n<A>\xC3\xA4\xFF</A></Policy>", "2:5: not well-formed (invalid token)"},
        {"<Policy><A>\xC3</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xC0\x80</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xE0\x80\x80</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xED\xA0\x80</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xF0\x80\x80\x80</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xF4\x90\x80\x80</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A><![CDATA[\xFF]]></A></Policy>", "1:21: not well-formed (invalid token)"},
        {"<Policy><!-- \xFF --></Policy>", "1:14: not well-formed (invalid token)"},
        {"<Policy><?p \xFF?></Policy>", "1:13: not well-formed (invalid token)"},
        {"<Policy><A\xFF/></Policy>", "1:11: not well-formed (invalid token)"},
        {"<Policy/>\xE4", "1:10: partial character"},
        // Characters that XML does not allow.
        {"<Policy><A>a\0b</A></Policy>"s, "1:13: a NUL byte"},
        {"<Policy/>\0"s, "1:10: a NUL byte"},
        {"\0<Policy/>"s, "1:1: a NUL byte"},
        {"<Policy><A>\x1B[0m</A></Policy>", "1:12: not well-formed (invalid token)"},
        {"<Policy><A>\xEF\xBF\xBE</A></Policy>", "1:12: not well-formed (invalid token)"},
        // Other encodings.
        {"<\0P\0o\0l\0i\0c\0y\0/\0>\0"s, "1:2: a NUL byte"},
        {"\xFE\xFF\0<\0P\0o\0l\0i\0c\0y\0/\0>"s, "1:3: a NUL byte"},
        {"\xFE\xFF<Policy/>", "1:3: not well-formed (invalid token)"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><Policy/>",
         "1:1: the declared encoding is not UTF-8"},
        {"<?xml version='1.0' encoding='UTF-16'?><Policy/>",
         "1:1: the declared encoding is not UTF-8"},
        {"\xEF\xBB\xBF\xEF\xBB\xBF<Policy/>", "1:1: not well-formed (invalid token)"},
    };
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(RefusalOf(xml), std::string("p.xml:") + message) << testing::PrintToString(xml);
    }
}

TEST(PolicyDocumentTest, DocumentTypeIsRefusedBeforeItIsRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"<!DOCTYPE Policy><Policy/>", "1:1"},
        {"<!DOCTYPE Policy", "1:1"},
        {"<?xml version='1.0'?>\n  <!DOCTYPE Policy>\n<Policy/>", "2:3"},
        {"<!-- <!DOCTYPE a> -->\n<!DOCTYPE Policy SYSTEM '<!DOCTYPE'><Policy/>", "2:1"},
        // An entity that grows exponentially.
        {"<!DOCTYPE Policy [<!ENTITY a 'aaaaaaaa'><!ENTITY b '&a;&a;&a;&a;'>"
         "<!ENTITY c '&b;&b;&b;&b;'>]><Policy><A>&c;</A></Policy>",
         "1:1"},
        // An external entity, an external subset, a parameter entity.
        {"<!DOCTYPE Policy [<!ENTITY a SYSTEM '/etc/passwd'>]><Policy><A>&a;</A></Policy>", "1:1"},
        {"<!DOCTYPE Policy SYSTEM 'file:///dev/zero'><Policy/>", "1:1"},
        {"<!DOCTYPE Policy [<!ENTITY % a SYSTEM '/dev/zero'> %a;]><Policy/>", "1:1"},
        // A default for an attribute.
        {"<!DOCTYPE Policy [<!ATTLIST A b CDATA '1'>]><Policy><A/></Policy>", "1:1"},
    };
    for (const auto& [xml, place] : cases) {
        EXPECT_EQ(RefusalOf(xml),
                  std::string("p.xml:") + place + ": a document type is not allowed")
            << xml;
    }
}

TEST(PolicyDocumentTest, DocumentThatIsNoPolicyIsRefusedWithItsPlace) {
    const std::pair<const char*, const char*> cases[] = {
        {"<policy/>", "1:1: the root element is not \"Policy\""},
        {"<other a='1'/>", "1:1: the root element is not \"Policy\""},
        {"\n <Other><A>1</A></Other>", "2:2: the root element is not \"Policy\""},
        {"<Policy>text</Policy>", "1:9: text outside of an item"},
        {"<Policy>\n  text<A>1</A></Policy>", "2:3: text outside of an item"},
        {"<Policy><A/>text</Policy>", "1:13: text outside of an item"},
        {"<Policy> &#65;</Policy>", "1:10: text outside of an item"},
        {"<Policy><A>text<B>1</B></A></Policy>", "1:12: text outside of an item"},
        {"<Policy><A> <!-- -->\r\n text<B>1</B></A></Policy>", "2:2: text outside of an item"},
        {"<Policy><A><B>1</B><![CDATA[x]]></A></Policy>", "1:29: text outside of an item"},
        {"<Policy a='1'/>", "1:1: element \"Policy\" has an attribute"},
        {"<Policy>\n <A b=\"1\">1</A></Policy>", "2:2: element \"A\" has an attribute"},
        {"<Policy><A b=\"1\"/></Policy>", "1:9: element \"A\" has an attribute"},
        {"<Policy><A b=\"1\"><B/></A></Policy>", "1:9: element \"A\" has an attribute"},
        {"<Policy xmlns='a'/>", "1:1: element \"Policy\" has an attribute"},
        {"<Policy>\n<A>1</A>\n<A>2</A></Policy>", "3:1: a second item \"A\""},
        {"<Policy><A><B/></A><A><B/></A></Policy>", "1:23: a second item \"A/B\""},
    };
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(RefusalOf(xml), std::string("p.xml:") + message) << xml;
    }
}

TEST(PolicyDocumentTest, BlanksInAGroupAreLayout) {
    const std::string blanks = " \t\r\n&#32;<![CDATA[ ]]>";
    EXPECT_THAT(Parse("<Policy>" + blanks + "<A>" + blanks + "<B>1</B>" + blanks + "</A>" + blanks +
                      "</Policy>"),
                ElementsAre(Item{"A/B", "1"}));
}

TEST(PolicyDocumentTest, ColumnsCountCharacters) {
    EXPECT_THAT(
        RefusalOf("\xEF\xBB\xBF<Policy><A>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80&a;</A></Policy>"),
        HasSubstr("p.xml:1:15: "));
    EXPECT_THAT(RefusalOf("<Policy>\n\xEF\xBB\xBF</Policy>"), HasSubstr("p.xml:2:1: "));
    EXPECT_THAT(RefusalOf("\xEF\xBB\xBF"), HasSubstr("p.xml:1:1: "));
}

TEST(PolicyDocumentTest, TruncatedDocumentIsRefused) {
    const std::string xml =
        "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\n<!-- c --><?p i?>\n<Policy>\r\n"
        "<A>\xC3\xA4 &amp; &#x20AC;</A><B/><C><D><![CDATA[ ]] ]]></D></C></Policy>";
    ASSERT_EQ(Parse(xml).size(), 3U);
    for (std::size_t length = 0; length < xml.size(); ++length) {
        EXPECT_THAT(RefusalOf(xml.substr(0, length)), testing::StartsWith("p.xml:")) << length;
    }
}

TEST(PolicyDocumentTest, DamagedDocumentIsParsedOrRefused) {
    const std::string intact =
        "<?xml version='1.0'?><Policy><!-- c --><A>\r\n&amp;</A><B/><C><D><![CDATA[]]></D></C>"
        "</Policy>";
    int refused = 0;
    for (std::size_t i = 0; i < intact.size(); ++i) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string xml = intact;
            xml[i] = static_cast<char>(byte);
            refused += RefusalOf(xml) == "no error" ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(PolicyDocumentTest, KeyHasAtMost255Bytes) {
    const auto document = [](std::size_t inner) {
        const std::string name(inner, 'n');
        return "<Policy><Outer><" + name + ">1</" + name + "></Outer></Policy>";
    };
    const std::size_t longest = PolicyStore::kMaxKeyLength - std::string("Outer/").size();
    EXPECT_THAT(Parse(document(longest)),
                ElementsAre(Item{"Outer/" + std::string(longest, 'n'), "1"}));
    EXPECT_EQ(RefusalOf(document(longest + 1)),
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
    EXPECT_EQ(Parse(document(128)).size(), 1U);
    EXPECT_EQ(RefusalOf(document(1000000)),
              "p.xml:1:393: the item's name is longer than 255 bytes");
}

TEST(PolicyDocumentTest, DocumentHasAtMost16MiB) {
    std::string document = "<Policy/>";
    document.resize(PolicyStore::kMaxDocumentSize, ' ');
    EXPECT_THAT(Parse(document), IsEmpty());
    document += ' ';
    EXPECT_THAT(RefusalOf(document), HasSubstr("the document is larger than 16 MiB"));
}

// Every item repeats the names of its groups in its key, so a file can be larger than its document.
TEST(PolicyDocumentTest, CompiledPolicyHasAtMost64MiB) {
    constexpr std::size_t kSizeOfItem = 8 + 255 + 8 + 2 * 8;
    constexpr std::size_t kMostItems = ((64U << 20) - 2048 - 49 - 2 * 8) / kSizeOfItem;
    const std::string group(247, 'g');
    const auto document = [&](std::size_t count) {
        std::string xml = "<Policy>\n<" + group + ">\n";
        for (std::size_t i = 0; i < count; ++i) {
            xml += "<" + std::to_string(i + 1000000).replace(0, 1, "n") + "/>";
        }
        return xml + "</" + group + "></Policy>";
    };
    // "GROUP/nNNNNNN" has 255 bytes.
    ASSERT_LT(document(kMostItems + 1).size(), PolicyStore::kMaxDocumentSize);
    EXPECT_EQ(RefusalOf(document(kMostItems)), "no error");
    EXPECT_EQ(RefusalOf(document(kMostItems + 1)),
              "p.xml:3:" + std::to_string(1 + kMostItems * std::string("<nNNNNNN/>").size()) +
                  ": the compiled policy would be larger than 64 MiB");
}

// The bytes of the document that the parser names for each byte of the first item's value.
std::string FoundAgain(const std::string& xml) {
    std::vector<ItemPlace> places;
    const std::string value = ParsePolicyDocument(xml, "p.xml", &places).at(0).value;
    std::string found;
    for (std::size_t i = 0; i < value.size(); ++i) {
        found += xml.at(places.at(0).OffsetOf(i));
    }
    return found;
}

TEST(PolicyDocumentTest, PlaceOfAnItemIsThatOfItsTag) {
    const std::string xml =
        "\xEF\xBB\xBF<?xml version='1.0'?>\n<Policy> <A/><B>1</B>\r\n<C> <D>2</D> <E >3</E>\n"
        "</C></Policy>";
    std::vector<ItemPlace> places;
    ASSERT_EQ(ParsePolicyDocument(xml, "p.xml", &places).size(), 4U);
    ASSERT_EQ(places.size(), 4U);
    EXPECT_EQ(places[0].Offset(), xml.find("<A"));
    EXPECT_EQ(places[1].Offset(), xml.find("<B"));
    EXPECT_EQ(places[2].Offset(), xml.find("<D"));
    EXPECT_EQ(places[3].Offset(), xml.find("<E"));
}

TEST(PolicyDocumentTest, BytesOfAValueAreFoundInTheDocument) {
    const std::pair<std::string, const char*> cases[] = {
        {"text", "text"},
        {"\xC3\xA4\xE2\x82\xAC", "\xC3\xA4\xE2\x82\xAC"},
        {"a\n\r\n\r\rb", "a\n\r\n\r\rb"},
        {"1&amp;2&#65;3", "1&2&3"},
        {"<![CDATA[1<&]]>2<![CDATA[\r\n]]>3", "1<&2\r\n3"},
        {"1<!-- x -->2<?x x?>\n3", "12\n3"},
        {"<!-- x --> <![CDATA[]]>1&lt;&lt;2", " 1&&2"},
    };
    for (const auto& [text, found] : cases) {
        for (const std::string start : {"<Policy><A>", "\xEF\xBB\xBF<Policy>\n <G> <A>"}) {
            const std::string end = start.size() > 11 ? "</A></G></Policy>" : "</A></Policy>";
            EXPECT_EQ(FoundAgain(start + text + end), found) << text;
        }
    }
}

TEST(PolicyDocumentTest, BytesOfALongValueAreFoundInTheDocument) {
    std::string text;
    std::string found;
    for (int i = 0; i < 3000; ++i) {
        text += "\r\n&#65;<![CDATA[b]]>" + std::string(50, 'c');
        found += "\r\n&b" + std::string(50, 'c');
    }
    EXPECT_TRUE(FoundAgain("<Policy><A>" + text + "</A></Policy>") == found);
}

TEST(PolicyDocumentTest, EndOfAValueFollowsItsLastByte) {
    const std::string xml = "<Policy><A>1&amp;<![CDATA[23]]></A><B/></Policy>";
    std::vector<ItemPlace> places;
    ParsePolicyDocument(xml, "p.xml", &places);
    EXPECT_EQ(places.at(0).OffsetOf(4), xml.find("]]>"));
    EXPECT_EQ(places.at(1).OffsetOf(0), xml.find("<B"));
}

TEST(PolicyDocumentTest, RefusalHasPositionAndReason) {
    try {
        ParsePolicyDocument("<Policy>\n <A/><A/></Policy>", "p.xml");
        FAIL();
    } catch (const DocumentRefusal& refusal) {
        EXPECT_EQ(refusal.Position().line, 2U);
        EXPECT_EQ(refusal.Position().column, 6U);
        EXPECT_STREQ(refusal.Reason(), "a second item \"A\"");
        EXPECT_STREQ(refusal.what(), "p.xml:2:6: a second item \"A\"");
    }
}

}  // namespace
