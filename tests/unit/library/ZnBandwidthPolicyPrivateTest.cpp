// The names of bandwidth items, and the allowance table by itself.
#include <limits>

#include "PolicyTest.h"
#include "ZnBandwidthPolicyPrivate.h"

TEST(BandwidthItemName, IsModuleNamePlusSuffix) {
    EXPECT_EQ(GetCfgName("Audio", BANDWIDTH_SPECIFIED), "AudioBandwidthSpecified");
    EXPECT_EQ(GetCfgName("Audio", BANDWIDTH), "AudioBandwidth");
    EXPECT_EQ(GetCfgName("Audio", BANDWIDTH_PERCENT_SPECIFIED), "AudioBandwidthPercentSpecified");
    EXPECT_EQ(GetCfgName("Audio", BANDWIDTH_PERCENT), "AudioBandwidthPercent");
    EXPECT_EQ(GetCfgName("", BANDWIDTH), "Bandwidth");
}

TEST(BandwidthItemName, NumbersTypesFromOne) {
    EXPECT_EQ(GetCfgName("X", static_cast<CfgNameType>(1)), "XBandwidthSpecified");
    EXPECT_EQ(GetCfgName("X", static_cast<CfgNameType>(2)), "XBandwidth");
    EXPECT_EQ(GetCfgName("X", static_cast<CfgNameType>(3)), "XBandwidthPercentSpecified");
    EXPECT_EQ(GetCfgName("X", static_cast<CfgNameType>(4)), "XBandwidthPercent");
}

TEST(BandwidthItemName, IsEmptyForInvalidType) {
    for (const int type :
         {0, 5, -1, 100, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(GetCfgName("Audio", static_cast<CfgNameType>(type)), "") << type;
    }
}

// --- The table ---

class BandwidthTable : public PolicyTest {};

TEST_F(BandwidthTable, ClearsItemsBeforeEachModule) {
    constexpr int kId = 4711;
    ScriptedPolicyStore::Publish(kId, {{"VCCBandwidthSpecified", "1"},
                                       {"VCCBandwidth", "300"},
                                       {"VCCBandwidthPercentSpecified", "1"},
                                       {"VCCBandwidthPercent", "50"}});
    ZnXml xml;
    ASSERT_TRUE(xml.LoadPolicyShareMemory(kId));
    PolicyCfgItemValue item = {9, 9, 9, 9};
    ZnBandwidthPolicyPrivate table;
    table.ReadSubs(xml, item, 1000);
    // The last module, "Video", has no items.
    EXPECT_EQ(item.bandwidthSpecified, 0);
    EXPECT_EQ(item.bandwidth, 0);
    EXPECT_EQ(item.bandwidthPercentSpecified, 0);
    EXPECT_EQ(item.bandwidthPercent, 0);
    EXPECT_EQ(table.Allowance("VCC"), 37500);
}
