// The virtual-channel plugin list: reading and parsing it, checking module ids.
#include <limits>
#include <utility>

#include "PolicyTest.h"
#include "VcItemRecord.h"
#include "ZnVcPath.h"
#include "ZnVcVek.h"

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kId = 4711;
constexpr int kSucceeded = 0;
constexpr int kFailed = -10000;

// --- Reading the list ---

class VcPolicy : public PolicyTest {
   protected:
    static Logged ReadProgress(const std::string& text) {
        return Progress("ZnReadVekVcPolicy", text);
    }

    // Must be overwritten by every read.
    std::string vcInfo_ = "from before";
};

TEST_F(VcPolicy, ReturnsListUnchanged) {
    const std::string lists[] = {"A@B@1@2@C@D@E",       "", ",", "x", "100% {} \n of it",
                                 std::string(5000, 'y')};
    for (const std::string& list : lists) {
        SCOPED_TRACE(list);
        ScriptedPolicyStore::Publish(kId, {{"PolicyName", "p"},
                                           {"VirtualChannelEnable", "1"},
                                           {"VirtualChannelOptionNames", list}});
        RecordingLogger::Clear();
        vcInfo_ = "from before";
        ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
        EXPECT_EQ(vcInfo_, list);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(ReadProgress("terminalId=4711"), ReadProgress("Normal:read VEK"),
                                ReadProgress("vccEnable=1,vcInfo=" + list)));
    }
}

TEST_F(VcPolicy, AcceptsAnyNonZeroFlagAndPolicyName) {
    for (const std::string flag : {"1", "2", "-1", "2147483647", "-2147483648"}) {
        ScriptedPolicyStore::Publish(kId, {{"PolicyName", ""},
                                           {"VirtualChannelEnable", flag},
                                           {"VirtualChannelOptionNames", "list"}});
        RecordingLogger::Clear();
        ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
        EXPECT_EQ(vcInfo_, "list");
        EXPECT_EQ(RecordingLogger::Records().back(),
                  ReadProgress("vccEnable=" + flag + ",vcInfo=list"));
    }
}

TEST_F(VcPolicy, ReadsItemsInOrder) {
    ScriptedPolicyStore::Publish(
        kId,
        {{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}, {"VirtualChannelOptionNames", "x"}});
    ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int VirtualChannelEnable",
                            "text VirtualChannelOptionNames"));
}

TEST_F(VcPolicy, DoesNotReadListWhenDisabled) {
    ScriptedPolicyStore::Publish(
        kId,
        {{"PolicyName", "p"}, {"VirtualChannelEnable", "0"}, {"VirtualChannelOptionNames", "x"}});
    ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int VirtualChannelEnable"));
}

TEST_F(VcPolicy, LogsSourceFileAndTags) {
    ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    EXPECT_THAT(origins, SizeIs(3));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::file, "ZnVcParseInfo.cpp")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag1, " ")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag2, "")));
}

TEST_F(VcPolicy, ReturnsEmptyListForMissingPolicy) {
    ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
    EXPECT_EQ(vcInfo_, "");
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(ReadProgress("terminalId=4711"), ReadProgress("Normal:read VEK"),
                    Failure("ZnReadVekVcPolicy", "LoadPolicyShareMemory Failed:terminalId=4711")));
}

TEST_F(VcPolicy, ReturnsEmptyListForMissingItemOrZeroFlag) {
    struct Case {
        ScriptedPolicyStore::Items items;
        std::string notice;
    };
    const Case cases[] = {
        {{{"VirtualChannelEnable", "1"}, {"VirtualChannelOptionNames", "x"}}, "PolicyName Failed"},
        {{{"PolicyName", "p"}, {"VirtualChannelOptionNames", "x"}}, "vccEnable Failed"},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "0"}, {"VirtualChannelOptionNames", "x"}},
         "vccEnable Failed"},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "on"}, {"VirtualChannelOptionNames", "x"}},
         "vccEnable Failed"},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}}, "VirtualChannelOptionNames Failed"},
    };
    // The value left by a failed read is ignored.
    ScriptedPolicyStore::ScribbleOnFailure("scribble", 99);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.notice);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, c.items);
        vcInfo_ = "from before";
        ZnVcVek::ZnReadVekVcPolicy(kId, vcInfo_);
        EXPECT_EQ(vcInfo_, "");
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(ReadProgress("terminalId=4711"), ReadProgress("Normal:read VEK"),
                                ReadProgress(c.notice)));
    }
}

// --- Parsing the list ---

class VcItems : public PolicyTest {
   protected:
    // Parses into a vector that is not empty.
    int Parse(const std::string& text) {
        RecordingLogger::Clear();
        items_.assign(3, Item("old", "old", 1, 2, "old", "old", "old"));
        return ZnVcVek::ZnParseVekVcItems(text, items_);
    }

    // Expects `text` to give `expected` and no record.
    void ExpectItems(const std::string& text, const std::vector<VekVcItems>& expected) {
        EXPECT_EQ(Parse(text), kSucceeded) << text;
        EXPECT_EQ(items_, expected) << text;
        EXPECT_THAT(RecordingLogger::Records(), IsEmpty()) << text;
    }

    // Expects `text` to fail with one record, and to leave no item.
    void ExpectFailure(const std::string& text, const Logged& record) {
        EXPECT_EQ(Parse(text), kFailed) << text;
        EXPECT_THAT(items_, IsEmpty()) << text;
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(record)) << text;
    }

    static Logged TooFewFields(size_t count) {
        return Progress("ZnParseVekVcItems", "Invalid:policy.size=" + std::to_string(count));
    }

    static Logged FieldTooLong(size_t index, size_t length) {
        return Progress("ZnParseVekVcItems", "Invalid:policy[" + std::to_string(index) +
                                                 "].size=" + std::to_string(length));
    }

    std::vector<VekVcItems> items_;
};

static const VekVcItems kFirst = Item("A", "B", 1, 2, "C", "D", "E");
static const VekVcItems kSecond = Item("F", "G", 3, 4, "H", "I", "J");

// The seven fields of an item.
using Fields = std::vector<std::string>;

static std::string Join(const Fields& fields, const std::string& separator = "@") {
    std::string text;
    for (const std::string& field : fields) {
        text += (text.empty() ? "" : separator) + field;
    }
    return text;
}

TEST_F(VcItems, ParsesSevenFields) {
    ExpectItems("A@B@1@2@C@D@E", {kFirst});
}

TEST_F(VcItems, KeepsOrderOfItems) {
    ExpectItems("A@B@1@2@C@D@E,F@G@3@4@H@I@J", {kFirst, kSecond});
    ExpectItems("F@G@3@4@H@I@J,A@B@1@2@C@D@E,A@B@1@2@C@D@E", {kSecond, kFirst, kFirst});
}

TEST_F(VcItems, IgnoresRepeatedAndTrailingSeparators) {
    for (const std::string text : {
             "A@B@1@2@C@D@E,,F@G@3@4@H@I@J",
             "A@B@1@2@C@D@E,,,,,F@G@3@4@H@I@J,",
             "A@B@1@2@C@D@E,F@G@3@4@H@I@J,,,",
             "A@@B@1@2@C@D@E,F@G@3@4@H@I@J",
             "A@B@1@2@@@@@C@D@E@,F@G@3@4@H@I@J@@@",
         }) {
        ExpectItems(text, {kFirst, kSecond});
    }
}

TEST_F(VcItems, IgnoresRunsOfSeparatorsOfAnyLength) {
    for (const size_t length : {2U, 31U, 32U, 33U, 34U, 64U, 100U, 100000U}) {
        SCOPED_TRACE(length);
        ExpectItems("A@B@1@2@C@D@E" + std::string(length, ',') + "F@G@3@4@H@I@J",
                    {kFirst, kSecond});
        ExpectItems("A" + std::string(length, '@') + "B@1@2@C@D@E", {kFirst});
        ExpectItems("A" + std::string(length, '{') + "B@1@2@C@D@E" + std::string(length, '}'),
                    {kFirst});
    }
}

TEST_F(VcItems, SeparatesFieldsByBraces) {
    for (const std::string text : {
             "A@{B}@1@2@C@D@E",
             "A{B}1@2@C@D@E",
             "A}B{1@2@C@D@E",
             "A{B{1{2{C{D{E",
             "A}B}1}2}C}D}E}",
             "A@{{B}}@{1}@{2}@{C}@{D}@{E}",
             "A@B@1@2@C@D@E{}",
         }) {
        ExpectItems(text, {kFirst});
    }
}

TEST_F(VcItems, TreatsListWithLeadingCommaAsEmpty) {
    for (const std::string text : {",A@B@1@2@C@D@E", ",,", ",,,,,", ",x", ",@"}) {
        ExpectItems(text, {});
    }
}

TEST_F(VcItems, RefusesListsBelowTwoCharacters) {
    for (const std::string text : {"", "A", ",", "@"}) {
        ExpectFailure(text, Failure("ZnParseVekVcItems", "invalid:key/vekVcStr"));
    }
}

TEST_F(VcItems, RefusesFewerThanSevenFields) {
    const struct {
        std::string text;
        size_t count;
    } cases[] = {
        {"AB", 1},
        {"A,", 1},
        {"A@", 1},
        {"A@B", 2},
        {"A@B@1@2@C@D", 6},
        {"A@B@1@2@C@D@", 6},
        {"A@@@@@@@@@B", 2},
        {"A,B,1,2,C,D,E", 1},
        {" ,A@B@1@2@C@D@E", 1},
    };
    for (const auto& c : cases) {
        ExpectFailure(c.text, TooFewFields(c.count));
    }
}

TEST_F(VcItems, RefusesItemWithLeadingSeparator) {
    for (const std::string item :
         {"{A}@B@1@2@C@D@E", "}A@B@1@2@C@D@E", "@A@B@1@2@C@D@E", "@@", "{}", "@{}"}) {
        ExpectFailure(item, TooFewFields(0));
        ExpectFailure("A@B@1@2@C@D@E," + item, TooFewFields(0));
    }
}

TEST_F(VcItems, AcceptsFieldsOfUpTo31Characters) {
    for (size_t index = 0; index < 9; ++index) {
        SCOPED_TRACE(index);
        Fields fields = {"A", "B", "1", "2", "C", "D", "E", "eighth", "ninth"};
        fields[index] = std::string(31, '0');
        EXPECT_EQ(Parse(Join(fields)), kSucceeded);
        for (const size_t length : {32U, 33U, 40U, 5000U}) {
            fields[index] = std::string(length, '0');
            ExpectFailure(Join(fields), FieldTooLong(index, length));
            ExpectFailure(Join(fields) + "@", FieldTooLong(index, length));
            ExpectFailure("A@B@1@2@C@D@E," + Join(fields), FieldTooLong(index, length));
        }
    }
}

TEST_F(VcItems, LogsFirstTooLongField) {
    ExpectFailure(Join({"A", std::string(40, 'x'), "1", std::string(50, 'x'), "C", "D", "E"}),
                  FieldTooLong(1, 40));
}

TEST_F(VcItems, ChecksNumberOfFieldsBeforeLengths) {
    ExpectFailure(Join({std::string(40, 'x'), "B", "1", "2", "C", "D"}), TooFewFields(6));
}

TEST_F(VcItems, ChecksEighthFieldWithoutStoringIt) {
    ExpectItems("A@B@1@2@C@D@E@more", {kFirst});
    ExpectItems("A@B@1@2@C@D@E@8@9@10@11@12", {kFirst});
    ExpectFailure("A@B@1@2@C@D@E@" + std::string(40, 'x'), FieldTooLong(7, 40));
}

TEST_F(VcItems, DiscardsAllItemsForOneInvalid) {
    ExpectFailure("A@B@1@2@C@D@E,F@G@3@4@H@I", TooFewFields(6));
    ExpectFailure("A@B@1@2@C@D@E,F@G@3@4@H@I@J,x,F@G@3@4@H@I@J", TooFewFields(1));
    ExpectFailure("A@B@1@2@C@D@E,F@G@3@4@H@I@" + std::string(32, 'J'), FieldTooLong(6, 32));
}

TEST_F(VcItems, CopiesTextsAndZeroesTheRest) {
    const std::string long1(31, 'a');
    const std::string long2 = "\x01\xff tab\t;:/\\\"'";
    ExpectItems(Join({long1, long2, "1", "2", "z", long1, long1}),
                {Item(long1, long2, 1, 2, "z", long1, long1)});
}

TEST_F(VcItems, KeepsBlanks) {
    ExpectItems(
        " A @B @ 1 @2 @ @\tD@E\n, F@G@3@4@H@I@J ",
        {Item(" A ", "B ", 1, 2, " ", "\tD", "E\n"), Item(" F", "G", 3, 4, "H", "I", "J ")});
}

TEST_F(VcItems, CountsWholeLengthOfFieldWithNul) {
    const std::string nul(1, '\0');
    ExpectItems("A" + nul + "x@B@1" + nul + "2@2@C@D@E", {kFirst});
    ExpectFailure("A" + nul + std::string(31, 'x') + "@B@1@2@C@D@E", FieldTooLong(0, 33));
}

TEST_F(VcItems, ReadsThirdAndFourthFieldAsHexadecimal) {
    const struct {
        std::string field;
        int32_t value;
    } cases[] = {
        {"0", 0},
        {"ff", 255},
        {"FF", 255},
        {"0x1F", 31},
        {"0X1f", 31},
        {"+1f", 31},
        {"-1f", -31},
        {"-0x10", -16},
        {"  10", 16},
        {"\t\n\v\f\r10", 16},
        {"10  ", 16},
        {"12g4", 18},
        {"1 2", 1},
        {"0x", 0},
        {"0xg", 0},
        {"x1F", 0},
        {"0x0x1", 0},
        {"g", 0},
        {" ", 0},
        {"-", 0},
        {"+", 0},
        {"+-1", 0},
        {"- 1", 0},
        {"7fffffff", std::numeric_limits<int32_t>::max()},
        {"80000000", std::numeric_limits<int32_t>::min()},
        {"-80000000", std::numeric_limits<int32_t>::min()},
        {"ffffffff", -1},
        {"100000000", 0},
        {"123456789", 0x23456789},
        {"-123456789", -0x23456789},
        {"7fffffffffffffff", -1},
        {"8000000000000000", -1},                 // held at the largest 64-bit number
        {"fffffffffffffffffffffffffffffff", -1},  // likewise
        {"-8000000000000000", 0},                 // the smallest
        {"-fffffffffffffffff", 0},                // held at it
    };
    for (const auto& c : cases) {
        ExpectItems("A@B@" + c.field + "@2@C@D@E", {Item("A", "B", c.value, 2, "C", "D", "E")});
        ExpectItems("A@B@1@" + c.field + "@C@D@E", {Item("A", "B", 1, c.value, "C", "D", "E")});
    }
}

TEST_F(VcItems, EndsHexadecimalFieldAtSeparator) {
    ExpectItems("A@B@ @2@c@D@E", {Item("A", "B", 0, 2, "c", "D", "E")});
    ExpectItems("A@B@0x{f}2@c@D", {Item("A", "B", 0, 15, "2", "c", "D")});
    ExpectItems("A@B@-@f@c@D@E", {Item("A", "B", 0, 15, "c", "D", "E")});
}

TEST_F(VcItems, LogsSourceFile) {
    Parse("x");
    EXPECT_THAT(RecordingLogger::Origins(),
                ElementsAre(Field(&LogOrigin::file, "ZnVcParseInfo.cpp")));
    Parse("xx");
    EXPECT_THAT(RecordingLogger::Origins(),
                ElementsAre(Field(&LogOrigin::file, "ZnVcParseInfo.cpp")));
}

TEST_F(VcItems, ParsesManyItems) {
    std::string text;
    for (int i = 0; i < 10000; ++i) {
        text += "A@B@1@2@C@D@E,";
    }
    EXPECT_EQ(Parse(text), kSucceeded);
    EXPECT_THAT(items_, SizeIs(10000));
    EXPECT_THAT(items_, Each(kFirst));
}

// --- Module ids and paths ---

TEST(VcModuleId, DependsOnLowFourBitsOnly) {
    for (const int id :
         {10, 11, 26, 27, -6, -5, 0x7ffffffa, 0x7ffffffb, std::numeric_limits<int>::min() + 10}) {
        EXPECT_TRUE(ZnVcVek::CheckModuleId(id)) << id;
    }
    for (const int id : {0, 1, 9, 12, 16, 25, 28, -1, -4, -7, -10, -11,
                         std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_FALSE(ZnVcVek::CheckModuleId(id)) << id;
    }
}

TEST(VcModuleId, AcceptsTwoOfEverySixteen) {
    for (int id = -1600; id < 1600; ++id) {
        const int kind = ((id % 16) + 16) % 16;
        EXPECT_EQ(ZnVcVek::CheckModuleId(id), kind == 10 || kind == 11) << id;
    }
}

TEST(VcClientPath, IsEmptyForEveryInput) {
    EXPECT_EQ(ZnVcPath::ZnVcClientDllFilePath("", VekVcItems()), "");
    EXPECT_EQ(ZnVcPath::ZnVcClientDllFilePath("/usr/lib", kFirst), "");
}
