#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ExplanationOutput.h"

namespace {

using Items = std::vector<PolicyStore::Item>;

using testing::ContainsRegex;

std::string Printed(const Items& items) {
    testing::internal::CaptureStdout();
    PrintExplanation(ExplainPolicy(items));
    return testing::internal::GetCapturedStdout();
}

TEST(ExplanationOutput, TablesShowValuesReasonsAndRawTexts) {
    const std::string text = Printed({{"PolicyName", ""},
                                      {"AutoCloseDisplayerFlag", " 5\n"},
                                      {"AutoCloseDisplayerSecond", "60"},
                                      {"TotalBandwidthSpecified", "1"},
                                      {"TotalBandwidth", "1000"},
                                      {"AudioBandwidthSpecified", "x"}});
    EXPECT_THAT(text, ContainsRegex("\nauto-close displayer seconds +60 +- +PolicyName=\"\" "
                                    "AutoCloseDisplayerFlag=\" 5.n\" "
                                    "AutoCloseDisplayerSecond=\"60\"\n"));
    EXPECT_THAT(text, ContainsRegex("\nreconnect interval +0 +AutoConnectInterval is missing "));
    EXPECT_THAT(text, ContainsRegex("\nAudio +0 +- +- +none +AudioBandwidthSpecified is not a "
                                    "number: module ignored +\"x\" - - -\n"));
    EXPECT_THAT(text, ContainsRegex("\nTotal +125000 +1000 +- +total +- +\"1\" \"1000\" - -\n"));
}

TEST(ExplanationOutput, JsonHasEverything) {
    const Json json = ExplanationToJson(5, ExplainPolicy({{"PolicyName", "A"}}));
    EXPECT_EQ(json["id"], 5);
    EXPECT_EQ(json["settings"][1], Json::parse(R"({
        "setting": "reconnect interval", "value": 0,
        "items": [{"item": "PolicyName", "text": "A"},
                  {"item": "AutoConnectInterval", "text": null},
                  {"item": "SessionKeepliveTime", "text": null}],
        "reason": "AutoConnectInterval is missing"})"));
    EXPECT_EQ(json["bandwidth"].size(), 16U);
    EXPECT_EQ(json["bandwidth"][0], Json::parse(R"({
        "module": "Audio", "bytesPerSecond": 0, "bytesPerMillisecond": 0, "absolute": null,
        "share": null, "limit": "none",
        "items": [{"item": "AudioBandwidthSpecified", "text": null},
                  {"item": "AudioBandwidth", "text": null},
                  {"item": "AudioBandwidthPercentSpecified", "text": null},
                  {"item": "AudioBandwidthPercent", "text": null}],
        "reason": "TotalBandwidthSpecified is missing: no module has an allowance"})"));
}

}  // namespace
