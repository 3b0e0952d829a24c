#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "PolicyCheck.h"
#include "TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "LINE:COLUMN CODE ITEM SUGGESTION", with "-" for nothing.
std::string Summary(const PolicyFinding& finding) {
    const auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
    return std::to_string(finding.position.line) + ":" + std::to_string(finding.position.column) +
           " " + std::string(CodeName(finding.code)) + " " + orDash(finding.item) + " " +
           orDash(finding.suggestion);
}

std::vector<std::string> Summaries(const std::vector<PolicyFinding>& findings) {
    std::vector<std::string> summaries;
    std::transform(findings.begin(), findings.end(), std::back_inserter(summaries), Summary);
    return summaries;
}

std::vector<std::string> Check(const std::string& xml) {
    return Summaries(CheckPolicyDocument(xml));
}

std::vector<std::filesystem::path> CorpusFiles(const std::string& directory) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(CORPUS "/" + directory)) {
        if (entry.path().extension() == ".xml") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Beside each document lies what is expected of it, a line for each finding.
TEST(PolicyCheck, CorpusOfMistakes) {
    const auto files = CorpusFiles("mistakes");
    EXPECT_GE(files.size(), 100U);
    for (const auto& file : files) {
        std::string found;
        for (const std::string& summary : Check(ReadFile(file.string()))) {
            found += summary + "\n";
        }
        const std::string expected =
            ReadFile(std::filesystem::path(file).replace_extension(".expected").string());
        EXPECT_NE(expected, "") << file;
        EXPECT_EQ(found, expected) << file;
    }
}

TEST(PolicyCheck, CorpusOfCorrectPolicies) {
    const auto files = CorpusFiles("correct");
    EXPECT_EQ(files.size(), 100U);
    for (const auto& file : files) {
        EXPECT_THAT(Check(ReadFile(file.string())), IsEmpty()) << file;
    }
}

TEST(PolicyCheck, PlacesInsideAValueAreFoundInTheDocument) {
    const auto rule = [](const std::string& value) {
        return "<Policy><PolicyName/><configArg1Enable>1</configArg1Enable>\n<configArg1Rule>" +
               value + "</configArg1Rule></Policy>";
    };
    const std::string wrong = " invalid-rule configArg1Rule -";
    const struct {
        std::string value;
        std::string place;
    } cases[] = {
        {"{\"DisableLoginHint\":true}", "2:37"},
        {"<![CDATA[{\"DisableLoginHint\":true}]]>", "2:46"},
        {"{&quot;DisableLoginHint&quot;:true}", "2:47"},
        {"{<!-- comment -->\"DisableLoginHint\":<![CDATA[true]]>}", "2:62"},
        {"\n\n{\"DisableLoginHint\":\n true}", "5:2"},
        {"\r\n{\"DisableLoginHint\":true}", "3:21"},
        {"{\"\xC3\xA4\":1,\"DisableLoginHint\":true}", "2:43"},
    };
    for (const auto& at : cases) {
        EXPECT_THAT(Check(rule(at.value)), ElementsAre(at.place + wrong)) << at.value;
    }
}

TEST(PolicyCheck, ByteOrderMarkHasNoColumn) {
    EXPECT_THAT(Check("\xEF\xBB\xBF<Policy><X/></Policy>"), ElementsAre("1:9 unknown-item X -"));
}

TEST(PolicyCheck, FindingsAreInTheOrderOfTheDocument) {
    EXPECT_THAT(
        Check("<Policy><TotalBandwidth>-1</TotalBandwidth><X/><SessionKeepliveTime/>"
              "</Policy>"),
        ElementsAre("1:9 out-of-range TotalBandwidth -",
                    "1:9 missing-item TotalBandwidthSpecified -", "1:44 unknown-item X -",
                    "1:48 not-a-number SessionKeepliveTime -", "1:48 no-policy-name PolicyName -",
                    "1:48 missing-item AutoConnectInterval -"));
}

TEST(PolicyCheck, PublishedPolicyHasNoPositions) {
    EXPECT_THAT(Summaries(CheckPolicyItems({{"PolicyName", ""}, {"Y", "1"}, {"X", "2"}})),
                ElementsAre("0:0 unknown-item Y -", "0:0 unknown-item X -"));
}

TEST(PolicyCheck, PublishedPolicyIsCheckedLikeItsDocument) {
    for (const auto& file : CorpusFiles("mistakes")) {
        const std::string xml = ReadFile(file.string());
        std::vector<PolicyFinding> ofDocument = CheckPolicyDocument(xml);
        if (ofDocument[0].code == FindingCode::kRefused) {
            continue;
        }
        const auto ofItems = CheckPolicyItems(PolicyStore::ParseDocument(xml, ""));
        for (PolicyFinding& finding : ofDocument) {
            finding.position = {};
        }
        EXPECT_THAT(Summaries(ofItems), testing::UnorderedElementsAreArray(Summaries(ofDocument)))
            << file;
    }
}

TEST(PolicyCheck, RefusalOfALargeDocumentIsAFinding) {
    const auto findings = CheckPolicyDocument(std::string(PolicyStore::kMaxDocumentSize + 1, ' '));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::kRefused);
    EXPECT_EQ(findings[0].message, "the document is larger than 16 MiB");
}

TEST(PolicyCheck, ManyUnknownItemsAreCheckedInReasonableTime) {
    std::string xml = "<Policy>";
    for (int i = 0; i < 200'000; ++i) {
        xml += "<VirtualChannelOptionX" + std::to_string(i) + "/>";
    }
    EXPECT_EQ(CheckPolicyDocument(xml + "</Policy>").size(), 200'000U);
}

}  // namespace
