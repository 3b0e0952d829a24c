#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "BandwidthExplanation.h"

namespace {

using Items = std::vector<PolicyStore::Item>;

// The explanation of Audio with these four numbers and this total.
ExplainedModule Audio(const std::string& total, const std::vector<std::string>& numbers) {
    const Items items = {{"TotalBandwidthSpecified", "1"},
                         {"TotalBandwidth", total},
                         {"AudioBandwidthSpecified", numbers[0]},
                         {"AudioBandwidth", numbers[1]},
                         {"AudioBandwidthPercentSpecified", numbers[2]},
                         {"AudioBandwidthPercent", numbers[3]}};
    const std::vector<ExplainedModule> modules = ExplainBandwidth(PolicyItems(items));
    EXPECT_EQ(modules[0].module, "Audio");
    return modules[0];
}

TEST(BandwidthExplanation, ModuleHasBothLimitsAndTheOneThatWon) {
    const struct {
        std::string total;
        std::vector<std::string> numbers;
        int bytesPerSecond;
        std::optional<int> absolute;
        std::optional<int> share;
        std::string limit;
        std::string reason;
    } cases[] = {
        {"1000", {"1", "800", "1", "50"}, 62500, 800, 500, "share", "share is the smaller limit"},
        {"1000",
         {"1", "300", "1", "50"},
         37500,
         300,
         500,
         "absolute",
         "absolute limit is the smaller one"},
        {"1000", {"0", "0", "1", "50"}, 62500, std::nullopt, 500, "share", ""},
        {"1000", {"1", "300", "0", "0"}, 37500, 300, std::nullopt, "absolute", ""},
        {"1000",
         {"1", "300", "1", "101"},
         37500,
         300,
         std::nullopt,
         "absolute",
         "percentage 101 is above 100: ignored"},
        {"50",
         {"1", "300", "1", "1"},
         37500,
         300,
         0,
         "absolute",
         "share of 50 is below one unit: absolute limit 300 kept"},
        {"50",
         {"0", "0", "1", "1"},
         0,
         std::nullopt,
         0,
         "none",
         "share of 50 is below one unit: no limit"},
        {"1000",
         {"0", "0", "0", "0"},
         0,
         std::nullopt,
         std::nullopt,
         "none",
         "no absolute limit, no percentage specified"},
        {"1000",
         {"0", "0", "1", "101"},
         0,
         std::nullopt,
         std::nullopt,
         "none",
         "no absolute limit, percentage 101 is above 100: ignored"},
        {"0",
         {"0", "0", "1", "50"},
         0,
         std::nullopt,
         std::nullopt,
         "none",
         "no absolute limit, no total: percentage ignored"},
        {"1000",
         {"0", "0", "1", "-50"},
         0,
         std::nullopt,
         -500,
         "none",
         "share is negative: no limit"},
        {"1000",
         {"1", "-1", "1", "50"},
         0,
         -1,
         500,
         "none",
         "absolute limit is negative: no limit"},
        {"1000",
         {"1", "30000000", "0", "0"},
         -544967296,
         30000000,
         std::nullopt,
         "absolute",
         "30000000 kbit/s in bytes per second wraps at 32 bits"},
        {"30000000",
         {"0", "0", "1", "90"},
         0,
         std::nullopt,
         -15949672,
         "none",
         "90 times 30000000 wraps at 32 bits; share is negative: no limit"},
    };
    for (const auto& expected : cases) {
        const ExplainedModule audio = Audio(expected.total, expected.numbers);
        EXPECT_EQ(audio.bytesPerSecond, expected.bytesPerSecond) << expected.reason;
        EXPECT_EQ(audio.absolute, expected.absolute) << expected.reason;
        EXPECT_EQ(audio.share, expected.share) << expected.reason;
        EXPECT_EQ(audio.limit, expected.limit) << expected.reason;
        EXPECT_EQ(audio.reason, expected.reason);
    }
}

TEST(BandwidthExplanation, IncompleteModulesAndTotalsAreNamed) {
    const Items none;
    EXPECT_EQ(ExplainBandwidth(PolicyItems(none)).at(0).reason,
              "TotalBandwidthSpecified is missing: no module has an allowance");
    const Items items = {{"TotalBandwidthSpecified", "1"},
                         {"TotalBandwidth", "1000"},
                         {"AudioBandwidthSpecified", "1"},
                         {"AudioBandwidth", "800"},
                         {"AudioBandwidthPercentSpecified", "1"}};
    const std::vector<ExplainedModule> modules = ExplainBandwidth(PolicyItems(items));
    EXPECT_EQ(modules.size(), 16U);
    EXPECT_EQ(modules[0].reason, "AudioBandwidthPercent is missing: module ignored");
}

}  // namespace
