// ZnConvertToVekPackInfo: converts the update description to package records.
#include <algorithm>
#include <cstring>
#include <vector>

#include "UpdateTest.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

static Logged Complains(const std::string& text) {
    return Failure("ZnConvertToVekPackInfo", text);
}

// A text field of a record and the JSON member it is filled from.
struct TextField {
    const char* member;
    size_t offset;
    size_t capacity;

    std::string Of(const ZnPackageInfo& info) const {
        const char* text = reinterpret_cast<const char*>(&info) + offset;
        return {text, strnlen(text, capacity)};
    }
};

static const TextField kTextFields[] = {
    {"application", 0, 64},    {"description", 64, 128},
    {"downloadUrl", 192, 320}, {"downloadZipSha256Hash", 512, 68},
    {"releaseDate", 580, 32},  {"microserviceName", 612, 32},
    {"version", 644, 32},      {"platform", 676, 64},
    {"packageName", 740, 64},  {"sha256Hash", 804, 68},
};

static std::string Description(const std::vector<std::string>& elements) {
    std::string text = R"({"packageInfo": [)";
    for (const std::string& element : elements) {
        text += (text.back() == '[' ? "" : ", ") + element;
    }
    return text + "]}";
}

class Convert : public UpdateTest {
   protected:
    int FromText(const std::string& text) {
        return ZnVcUpdate::ZnConvertToVekPackInfo(text, records_);
    }
    int FromElements(const std::vector<std::string>& elements) {
        return FromText(Description(elements));
    }

    std::vector<ZnPackageInfo> records_;
};

// --- Fields ---

TEST_F(Convert, FillsEveryField) {
    std::string element = R"({"size": "1024")";
    for (const TextField& field : kTextFields) {
        element += std::string(", \"") + field.member + "\": \"its " + field.member + "\"";
    }
    EXPECT_EQ(FromElements({element + "}"}), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    for (const TextField& field : kTextFields) {
        EXPECT_EQ(field.Of(records_[0]), std::string("its ") + field.member);
    }
    EXPECT_EQ(records_[0].size, 1024);
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}

TEST_F(Convert, FillsOnlyFieldOfMember) {
    for (const TextField& field : kTextFields) {
        SCOPED_TRACE(field.member);
        const std::string longest(field.capacity - 1, 'x');
        records_.clear();
        EXPECT_EQ(FromElements({std::string("{\"") + field.member + "\": \"" + longest + "\"}"}),
                  kSuccess);
        ASSERT_EQ(records_.size(), 1U);
        std::vector<char> expected(sizeof(ZnPackageInfo), '\0');
        std::copy(longest.begin(), longest.end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(field.offset));
        EXPECT_EQ(std::memcmp(records_.data(), expected.data(), expected.size()), 0);
    }
}

TEST_F(Convert, LeavesFieldEmptyForTooLongText) {
    for (const TextField& field : kTextFields) {
        for (const size_t excess : {size_t{0}, size_t{1}, size_t{1000}}) {
            SCOPED_TRACE(field.member);
            records_.clear();
            const std::string text(field.capacity + excess, 'x');
            EXPECT_EQ(FromElements({std::string("{\"") + field.member + "\": \"" + text +
                                    R"(", "size": "7"})"}),
                      kSuccess);
            ASSERT_EQ(records_.size(), 1U);
            EXPECT_EQ(field.Of(records_[0]), "");
            EXPECT_EQ(records_[0].size, 7);
        }
    }
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}

TEST_F(Convert, CountsLengthInBytes) {
    const std::string sixteenLetters = R"(\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4)"
                                       R"(\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4)";
    EXPECT_EQ(FromElements({R"({"version": ")" + sixteenLetters + R"("})",
                            R"({"version": ")" + sixteenLetters.substr(6) + R"("})"}),
              kSuccess);
    ASSERT_EQ(records_.size(), 2U);
    EXPECT_STREQ(records_[0].version, "");
    EXPECT_EQ(std::strlen(records_[1].version), 30U);
}

TEST_F(Convert, EndsTextAtFirstNul) {
    EXPECT_EQ(FromElements({R"({"version": "1.0\u0000beta"})"}), kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    EXPECT_STREQ(records_[0].version, "1.0");
}

TEST_F(Convert, ReadsLeadingNumberOfSize) {
    const struct {
        const char* text;
        int size;
    } cases[] = {
        {"12", 12},
        {"12abc", 12},
        {" 12", 12},
        {"+12", 12},
        {"-12", -12},
        {"0x10", 0},
        {"1e3", 1},
        {"abc", 0},
        {"", 0},
        {"2147483647", 2147483647},
        {"-2147483648", -2147483647 - 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        records_.clear();
        EXPECT_EQ(FromElements({std::string(R"({"size": ")") + c.text + "\"}"}), kSuccess);
        ASSERT_EQ(records_.size(), 1U);
        EXPECT_EQ(records_[0].size, c.size);
    }
}

TEST_F(Convert, KeepsRecordWithSizeBeyond32Bits) {
    for (const char* text : {"2147483648", "-2147483649", "99999999999999999999"}) {
        SCOPED_TRACE(text);
        records_.clear();
        EXPECT_EQ(FromElements({std::string(R"({"size": ")") + text + "\"}"}), kSuccess);
        EXPECT_EQ(records_.size(), 1U);
    }
}

TEST_F(Convert, TreatsNonStringMembersAsMissing) {
    EXPECT_EQ(FromElements({R"({"size": 12, "version": 1, "platform": null, "packageName": {},
                                "sha256Hash": ["a"], "application": true})"}),
              kSuccess);
    ASSERT_EQ(records_.size(), 1U);
    const ZnPackageInfo empty = {};
    EXPECT_EQ(std::memcmp(records_.data(), &empty, sizeof empty), 0);
}

TEST_F(Convert, DoesNotCarryValuesToNextRecord) {
    EXPECT_EQ(FromElements({R"({"packageName": "first.zip", "version": "1.0", "size": "99"})",
                            R"({"packageName": "second.zip"})", "{}"}),
              kSuccess);
    ASSERT_EQ(records_.size(), 3U);
    EXPECT_STREQ(records_[1].packageName, "second.zip");
    EXPECT_STREQ(records_[1].version, "");
    EXPECT_EQ(records_[1].size, 0);
    EXPECT_STREQ(records_[2].packageName, "");
}

TEST_F(Convert, MakesEmptyRecordOfNonObject) {
    EXPECT_EQ(FromElements({"1", "\"text\"", "null", "[]", R"([{"version": "1"}])"}), kSuccess);
    const ZnPackageInfo empty = {};
    ASSERT_EQ(records_.size(), 5U);
    for (const ZnPackageInfo& record : records_) {
        EXPECT_EQ(std::memcmp(&record, &empty, sizeof empty), 0);
    }
}

// --- The list ---

TEST_F(Convert, AppendsRecordsInOrder) {
    records_.resize(1);
    std::vector<std::string> elements;
    for (int i = 0; i < 1000; ++i) {
        elements.push_back(R"({"version": ")" + std::to_string(i) + "\"}");
    }
    EXPECT_EQ(FromElements(elements), kSuccess);
    ASSERT_EQ(records_.size(), 1001U);
    EXPECT_STREQ(records_[0].version, "");
    for (size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(records_[i + 1].version, std::to_string(i));
    }
}

TEST_F(Convert, IgnoresOtherMembers) {
    EXPECT_EQ(FromText(R"({"a": [1], "packageInfo": [{"version": "1", "more": {}}], "z": 2})"),
              kSuccess);
    EXPECT_EQ(records_.size(), 1U);
}

TEST_F(Convert, FailsForEmptyText) {
    records_.resize(1);
    EXPECT_EQ(FromText(""), kFailure);
    EXPECT_EQ(records_.size(), 1U);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Complains("Failed:vekJsonUpdateInfo.size=0")));
}

TEST_F(Convert, FailsWithoutPackagesOnlyWhenListStaysEmpty) {
    for (const char* text :
         {R"({})", R"({"packageInfo": []})", R"({"packageInfo": {}})", R"({"packageInfo": "[]"})",
          R"({"packageInfo": null})", R"({"PackageInfo": [{}]})", R"([{"packageInfo": [{}]}])",
          R"({"packageInfo": [{}])", "no JSON", " "}) {
        SCOPED_TRACE(text);
        RecordingLogger::Clear();
        records_.clear();
        EXPECT_EQ(FromText(text), kFailure);
        EXPECT_THAT(records_, IsEmpty());
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Complains("Failed:vekPackInfo.size=0")));

        RecordingLogger::Clear();
        records_.resize(2);
        EXPECT_EQ(FromText(text), kSuccess);
        EXPECT_EQ(records_.size(), 2U);
        EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
    }
}

TEST_F(Convert, LogsSourceFileAndTags) {
    FromText("");
    FromText("{}");
    EXPECT_EQ(RecordingLogger::Origins().size(), 2U);
    EXPECT_THAT(RecordingLogger::Origins(),
                Each(AllOf(Field(&LogOrigin::file, "ZnVcUpdate.cpp"), Field(&LogOrigin::tag1, " "),
                           Field(&LogOrigin::tag2, ""))));
}
