#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "BandwidthCheck.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Items = std::vector<PolicyStore::Item>;

// The findings of these items, as "CODE ITEM".
std::vector<std::string> Check(const Items& items) {
    const std::vector<ItemPlace> places(items.size(), ItemPlace(0));
    PolicyReport report(items, places);
    CheckBandwidth(PolicyItems(items), report);
    std::vector<std::string> found;
    for (const PlacedFinding& placed : report.Take()) {
        found.push_back(std::string(CodeName(placed.finding.code)) + " " + placed.finding.item);
    }
    return found;
}

Items Total(const std::string& bandwidth) {
    return {{"TotalBandwidthSpecified", "1"}, {"TotalBandwidth", bandwidth}};
}

// Adds a module with these limits; "0" is none.
Items With(Items items, const std::string& module, const std::string& bandwidth,
           const std::string& percent) {
    items.push_back({module + "BandwidthSpecified", bandwidth == "0" ? "0" : "1"});
    items.push_back({module + "Bandwidth", bandwidth});
    items.push_back({module + "BandwidthPercentSpecified", percent == "0" ? "0" : "1"});
    items.push_back({module + "BandwidthPercent", percent});
    return items;
}

TEST(BandwidthCheck, PolicyWithoutBandwidthHasNoFindings) {
    EXPECT_THAT(Check({}), IsEmpty());
    EXPECT_THAT(Check({{"PolicyName", ""}}), IsEmpty());
}

TEST(BandwidthCheck, UnusedPlacesAndTotalWithoutShareHaveNoFindings) {
    EXPECT_THAT(Check(Total("1000")), IsEmpty());
    EXPECT_THAT(Check(With(Total("1000"), "Audio", "0", "0")), IsEmpty());
    EXPECT_THAT(Check(With(Total("1000"), "Audio", "800", "0")), IsEmpty());
    EXPECT_THAT(Check(With(Total("1000"), "Audio", "0", "100")), IsEmpty());
}

TEST(BandwidthCheck, OnlySharesInForceOverCommitATotal) {
    const Items absolute = With(With(Total("1000"), "Audio", "100", "90"), "Video", "100", "90");
    EXPECT_THAT(Check(absolute), IsEmpty());
    EXPECT_THAT(Check(With(absolute, "USB", "0", "100")), IsEmpty());
    EXPECT_THAT(Check(With(With(absolute, "USB", "0", "100"), "HID", "0", "1")),
                ElementsAre("over-committed TotalBandwidth"));
}

TEST(BandwidthCheck, ReportsProductsThatDoNotFit32Bits) {
    EXPECT_THAT(Check(Total("17179869")), IsEmpty());
    EXPECT_THAT(Check(Total("17179870")), ElementsAre("overflow TotalBandwidth"));
    EXPECT_THAT(Check(With(Total("1000"), "Audio", "17179870", "0")),
                ElementsAre("overflow AudioBandwidth"));
    // 100 times the total fits, the share in bytes does not.
    EXPECT_THAT(Check(With(Total("21000000"), "Audio", "0", "100")),
                ElementsAre("overflow AudioBandwidthPercent", "overflow TotalBandwidth"));
    EXPECT_THAT(Check(With(Total("22000000"), "Audio", "0", "100")),
                ElementsAre("overflow AudioBandwidthPercent", "overflow TotalBandwidth"));
}

TEST(BandwidthCheck, LimitThatDoesNotWinCannotOverflow) {
    EXPECT_THAT(Check(With(Total("1000"), "Audio", "17179870", "50")), IsEmpty());
}

}  // namespace
