#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ItemReference.h"
#include "RedirectionModules.h"
#include "TemporaryDirectory.h"

namespace {

TEST(ItemReference, HasFourItemsForEveryModule) {
    for (const std::string module : kRedirectionModules) {
        for (const char* suffix :
             {"BandwidthSpecified", "Bandwidth", "BandwidthPercentSpecified", "BandwidthPercent"}) {
            const ItemDescription* const item = FindKnownItem(module + suffix);
            ASSERT_NE(item, nullptr) << module << suffix;
            EXPECT_TRUE(item->isInteger);
            EXPECT_FALSE(item->needsPolicyName);
        }
    }
    EXPECT_EQ(BandwidthModules().size(), std::size(kRedirectionModules));
}

TEST(ItemReference, NamesAreUnique) {
    std::set<std::string> names;
    for (const ItemDescription& item : KnownItems()) {
        EXPECT_TRUE(names.insert(item.name).second) << item.name;
    }
}

TEST(ItemReference, EveryItemIsDescribed) {
    for (const ItemDescription& item : KnownItems()) {
        EXPECT_NE(item.range, "") << item.name;
        EXPECT_NE(item.defaultValue, "") << item.name;
        EXPECT_NE(item.reader, "") << item.name;
        EXPECT_NE(item.meaning, "") << item.name;
    }
}

TEST(ItemReference, UnknownNameHasNoDescription) {
    EXPECT_EQ(FindKnownItem("policyname"), nullptr);
    EXPECT_EQ(FindKnownItem(""), nullptr);
}

TEST(ItemReference, SuggestsTheNearestName) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"AudioBandwith", "AudioBandwidth"},
        {"AUDIOBANDWIDTH", "AudioBandwidth"},
        {"UsbBandwidthPercent", "USBBandwidthPercent"},
        {"ClipbordBandwidthSpecified", "ClipboardBandwidthSpecified"},
        {"Group/AudioBandwidth", "AudioBandwidth"},
        {"A/B/policyname", "PolicyName"},
        {"SessionKeepaliveTime", "SessionKeepliveTime"},
        {"AutoReconnectInterval", "AutoConnectInterval"},
        {"AutoCloseDisplayerSeconds", "AutoCloseDisplayerSecond"},
        {"ConfigArg1Enabled", "configArg1Enable"},
        {"VirtualChannelOptionName", "VirtualChannelOptionNames"},
        // Nothing is near.
        {"KeyboardBandwidth", ""},
        {"XYZBandwidth", ""},
        {"Wallpaper", ""},
        {"A", ""},
        {"", ""},
        {std::string(255, 'x'), ""},
    };
    for (const auto& [name, suggestion] : cases) {
        EXPECT_EQ(NearestKnownItem(name), suggestion) << name;
    }
}

TEST(ItemReference, DocumentIsUpToDate) {
    EXPECT_EQ(ReadFile(DOCS "/policy-items.md"), ItemsAsMarkdown())
        << "znpolicy policy items --markdown > docs/policy-items.md";
}

}  // namespace
