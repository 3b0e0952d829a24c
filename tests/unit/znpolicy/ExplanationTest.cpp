#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Explanation.h"

namespace {

using Items = std::vector<PolicyStore::Item>;

ExplainedSetting Setting(const Items& items, const std::string& name) {
    const Explanation explanation = ExplainPolicy(items);
    for (const ExplainedSetting& setting : explanation.settings) {
        if (setting.name == name) {
            return setting;
        }
    }
    ADD_FAILURE() << "no setting " << name;
    return {};
}

TEST(Explanation, NeutralSettingsHaveTheirReason) {
    const struct {
        Items items;
        std::string setting;
        std::string reason;
    } cases[] = {
        {{}, "intelligent data transport flag", "IntelligentDataTransportFlag is missing"},
        {{{"IntelligentDataTransportFlag", "on"}},
         "intelligent data transport flag",
         "IntelligentDataTransportFlag is not a number"},
        {{{"AutoConnectInterval", "30"}, {"SessionKeepliveTime", "180"}},
         "reconnect interval",
         "no PolicyName"},
        {{{"PolicyName", ""}, {"AutoConnectInterval", "30"}},
         "reconnect interval",
         "SessionKeepliveTime is missing"},
        {{{"PolicyName", ""}, {"configArg1Enable", "2"}},
         "disable login hint",
         "configArg1Enable is 2; only 1 turns customisation on"},
        {{{"PolicyName", ""}, {"configArg1Enable", "1"}},
         "disable login hint",
         "configArg1Rule is missing"},
        {{{"PolicyName", ""}, {"configArg1Enable", "1"}, {"configArg1Rule", "{"}},
         "disable login hint",
         "configArg1Rule is not JSON"},
        {{{"PolicyName", ""}, {"configArg1Enable", "1"}, {"configArg1Rule", "{}"}},
         "disable login hint",
         "configArg1Rule has no integer DisableLoginHint"},
        {{{"PolicyName", ""}, {"AutoCloseDisplayerFlag", "0"}},
         "auto-close displayer seconds",
         "AutoCloseDisplayerFlag is 0"},
        {{{"PolicyName", ""}, {"VirtualChannelEnable", "0"}},
         "virtual-channel list",
         "VirtualChannelEnable is 0"},
        {{{"PolicyName", ""}, {"VirtualChannelEnable", "1"}, {"VirtualChannelOptionNames", "AB"}},
         "virtual-channel plugins",
         "list refused: item 1 (\"AB\") has 1 field; 7 are needed"},
        {{{"PolicyName", ""}, {"VirtualChannelEnable", "1"}, {"VirtualChannelOptionNames", ",A"}},
         "virtual-channel plugins",
         "the list begins with a comma, so it is empty"},
    };
    for (const auto& neutral : cases) {
        EXPECT_EQ(Setting(neutral.items, neutral.setting).reason, neutral.reason);
    }
}

TEST(Explanation, SettingNamesItsItemsWithTheirRawTexts) {
    const ExplainedSetting setting = Setting(
        {{"PolicyName", "A"}, {"AutoCloseDisplayerFlag", " 5 "}}, "auto-close displayer seconds");
    ASSERT_EQ(setting.items.size(), 3U);
    EXPECT_EQ(setting.items[1].item, "AutoCloseDisplayerFlag");
    EXPECT_EQ(setting.items[1].text, " 5 ");
    EXPECT_EQ(setting.items[2].item, "AutoCloseDisplayerSecond");
    EXPECT_EQ(setting.items[2].text, std::nullopt);
}

}  // namespace
