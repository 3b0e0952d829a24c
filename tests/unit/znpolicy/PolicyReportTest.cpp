#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PolicyReport.h"

namespace {

TEST(PolicyReport, ReturnsFindingsInDocumentOrder) {
    const std::vector<PolicyStore::Item> items = {{"A", "1"}, {"B", "value"}};
    std::vector<ItemPlace> places = {ItemPlace(10), ItemPlace(20)};
    places[1].AddPiece(0, 23);
    PolicyReport report(items, places);
    report.AddInside(FindingCode::kInvalidRule, items[1], 2, "inside", "suggestion");
    report.AddNoEffect(items[1], "some reason");
    report.AddMissing(FindingCode::kMissingItem, "C", items[0], "some consequence");
    report.Add(FindingCode::kUnknownItem, items[0], "unknown");

    const std::vector<PlacedFinding> findings = report.Take();
    ASSERT_EQ(findings.size(), 4U);
    EXPECT_EQ(findings[0].offset, 10U);
    EXPECT_EQ(findings[0].finding.item, "C");
    EXPECT_EQ(findings[0].finding.message, "C is missing: some consequence");
    EXPECT_EQ(findings[1].offset, 10U);
    EXPECT_EQ(findings[1].finding.item, "A");
    EXPECT_EQ(findings[2].offset, 20U);
    EXPECT_EQ(findings[2].finding.message, "B has no effect: some reason");
    EXPECT_EQ(findings[3].offset, 25U);
    EXPECT_EQ(findings[3].finding.suggestion, "suggestion");
}

}  // namespace
