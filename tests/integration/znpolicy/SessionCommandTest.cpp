#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Program.h"

namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class SessionCommand : public CommandTest {};

constexpr const char* kPolicy = R"(<Policy>
    <PolicyName>Call centre</PolicyName>
    <IntelligentDataTransportFlag>7</IntelligentDataTransportFlag>
    <AutoConnectInterval>30</AutoConnectInterval>
    <SessionKeepliveTime>-1</SessionKeepliveTime>
    <configArg1Enable>1</configArg1Enable>
    <configArg1Rule><![CDATA[{"DisableLoginHint": 1}]]></configArg1Rule>
    <AutoCloseDisplayerFlag>5</AutoCloseDisplayerFlag>
    <AutoCloseDisplayerSecond>600</AutoCloseDisplayerSecond>
</Policy>)";

TEST_F(SessionCommand, PrintsSettings) {
    Publish("5", kPolicy);
    EXPECT_THAT(Output({"session", "5"}), StartsWith("SETTING                          VALUE\n"
                                                     "intelligent data transport flag  7\n"
                                                     "reconnect interval               30\n"
                                                     "reconnect keep-alive time        -1\n"
                                                     "disable login hint               yes\n"
                                                     "auto-close displayer after       600 s\n"));
}

TEST_F(SessionCommand, PrintsSettingsAsJson) {
    Publish("5", kPolicy);
    const Json session = Json::parse(Output({"session", "5", "--json"}));
    EXPECT_EQ(session["id"], 5);
    EXPECT_EQ(session["intelligentDataTransportFlag"], 7);
    EXPECT_EQ(session["reconnectInterval"], 30);
    EXPECT_EQ(session["reconnectKeepliveTime"], -1);
    EXPECT_EQ(session["disableLoginHint"], true);
    EXPECT_EQ(session["autoCloseDisplayerSeconds"], 600);
}

TEST_F(SessionCommand, EmptyPolicyGivesDefaults) {
    Publish("5", "<Policy/>");
    const Json session = Json::parse(Output({"session", "5", "--json"}));
    EXPECT_EQ(session["intelligentDataTransportFlag"], 0);
    EXPECT_EQ(session["reconnectInterval"], 0);
    EXPECT_EQ(session["reconnectKeepliveTime"], 0);
    EXPECT_EQ(session["disableLoginHint"], false);
    EXPECT_EQ(session["autoCloseDisplayerSeconds"], 0);
}

TEST_F(SessionCommand, ReadsPolicyAfreshEachTime) {
    Publish("5", "<Policy><IntelligentDataTransportFlag>1</IntelligentDataTransportFlag></Policy>");
    EXPECT_EQ(Json::parse(Output({"session", "5", "--json"}))["intelligentDataTransportFlag"], 1);
    Publish("5", "<Policy><IntelligentDataTransportFlag>2</IntelligentDataTransportFlag></Policy>");
    EXPECT_EQ(Json::parse(Output({"session", "5", "--json"}))["intelligentDataTransportFlag"], 2);
}

// A policy in which every limit wins once, with a list of two plugins.
constexpr const char* kBandwidthAndPlugins = R"(<Policy>
    <PolicyName>Call centre</PolicyName>
    <TotalBandwidthSpecified>1</TotalBandwidthSpecified>
    <TotalBandwidth>1000</TotalBandwidth>
    <AudioBandwidthSpecified>1</AudioBandwidthSpecified>
    <AudioBandwidth>800</AudioBandwidth>
    <AudioBandwidthPercentSpecified>1</AudioBandwidthPercentSpecified>
    <AudioBandwidthPercent>50</AudioBandwidthPercent>
    <VideoBandwidthSpecified>1</VideoBandwidthSpecified>
    <VideoBandwidth>300</VideoBandwidth>
    <VideoBandwidthPercentSpecified>1</VideoBandwidthPercentSpecified>
    <VideoBandwidthPercent>50</VideoBandwidthPercent>
    <USBBandwidthSpecified>1</USBBandwidthSpecified>
    <USBBandwidth>300</USBBandwidth>
    <VirtualChannelEnable>1</VirtualChannelEnable>
    <VirtualChannelOptionNames>A@{B}@0x1F@ff@C@D@E,F@G@3@4@H@I@J</VirtualChannelOptionNames>
</Policy>)";

TEST_F(SessionCommand, PrintsBandwidthAndPlugins) {
    Publish("5", kBandwidthAndPlugins);
    EXPECT_THAT(Output({"session", "5"}),
                EndsWith("\n"
                         "MODULE  BYTES/S  BYTES/MS  LIMIT\n"
                         "Audio   62500    62        share\n"
                         "Total   125000   125       total\n"
                         "Video   37500    37        absolute\n"
                         "\n"
                         "FIELD 1  FIELD 2  FIELD 3  FIELD 4  FIELD 5  FIELD 6  FIELD 7\n"
                         "A        B        0x1f     0xff     C        D        E\n"
                         "F        G        0x3      0x4      H        I        J\n"));
}

TEST_F(SessionCommand, PrintsBandwidthAndPluginsAsJson) {
    Publish("5", kBandwidthAndPlugins);
    const Json session = Json::parse(Output({"session", "5", "--json"}));
    EXPECT_EQ(session["bandwidth"], Json::parse(R"([
        {"module": "Audio", "bytesPerSecond": 62500, "bytesPerMillisecond": 62, "limit": "share"},
        {"module": "Total", "bytesPerSecond": 125000, "bytesPerMillisecond": 125, "limit": "total"},
        {"module": "Video", "bytesPerSecond": 37500, "bytesPerMillisecond": 37, "limit": "absolute"}
    ])"));
    EXPECT_EQ(session["virtualChannels"], Json::parse(R"([
        {"text1": "A", "text2": "B", "hexValue1": 31, "hexValue2": 255,
         "text3": "C", "text4": "D", "text5": "E"},
        {"text1": "F", "text2": "G", "hexValue1": 3, "hexValue2": 4,
         "text3": "H", "text4": "I", "text5": "J"}
    ])"));
    EXPECT_FALSE(session.contains("virtualChannelsRefused"));
}

TEST_F(SessionCommand, ReportsMissingBandwidthAndPlugins) {
    Publish("5", "<Policy/>");
    EXPECT_THAT(Output({"session", "5"}),
                EndsWith("\nno bandwidth allowances\n\nno virtual-channel plugins\n"));
    const Json session = Json::parse(Output({"session", "5", "--json"}));
    EXPECT_EQ(session["bandwidth"], Json::array());
    EXPECT_EQ(session["virtualChannels"], Json::array());
}

TEST_F(SessionCommand, ReportsRefusedPluginList) {
    Publish("5",
            "<Policy><PolicyName/><VirtualChannelEnable>1</VirtualChannelEnable>"
            "<VirtualChannelOptionNames>A@B@1@2@C@D</VirtualChannelOptionNames></Policy>");
    const std::string problem = "item 1 (\"A@B@1@2@C@D\") has 6 fields; 7 are needed";
    EXPECT_THAT(Output({"session", "5"}),
                EndsWith("\nvirtual-channel list refused: " + problem + "\n"));
    const Json session = Json::parse(Output({"session", "5", "--json"}));
    EXPECT_EQ(session["virtualChannels"], Json::array());
    EXPECT_EQ(session["virtualChannelsRefused"], problem);
}

TEST_F(SessionCommand, ReportsMissingStore) {
    EXPECT_THAT(Failure({"session", "6"}), HasSubstr(store_ + ": there is no policy store here"));
}

TEST_F(SessionCommand, ReportsMissingOrDamagedPolicy) {
    std::filesystem::create_directory(store_);
    EXPECT_EQ(Failure({"session", "6"}), "znpolicy: no policy for id 6 in " + store_ + "\n");
    WriteFile(store_ + "/6.cdb", "damaged");
    EXPECT_EQ(Failure({"session", "6"}),
              "znpolicy: not a policy file, or a damaged one: " + store_ + "/6.cdb\n");
}

TEST_F(SessionCommand, ExamplePolicySetsEveryItem) {
    Output({"policy", "publish", "1001", EXAMPLES "/policy.xml"});
    const ProcessResult result = Run({"session", "1001", "--log-level", "info"});
    EXPECT_EQ(result.exitCode, kDone);
    EXPECT_THAT(result.err, HasSubstr("ReadBandwidthPolicy"));
    EXPECT_THAT(result.err, Not(HasSubstr("ailed")));
    EXPECT_THAT(result.err, Not(HasSubstr("disable\n")));
    EXPECT_THAT(result.out, HasSubstr("disable login hint               yes\n"));
    EXPECT_THAT(result.out, HasSubstr("auto-close displayer after       600 s\n"));
}

TEST_F(SessionCommand, ShowsSeveralSessions) {
    Publish("5", kPolicy);
    Publish("7", "<Policy/>");
    for (const std::string option : {"", "--explain"}) {
        std::vector<std::string> end;
        if (!option.empty()) {
            end.push_back(option);
        }
        const auto session = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), "session");
            arguments.insert(arguments.end(), end.begin(), end.end());
            return Run(arguments);
        };
        const ProcessResult both = session({"5", "6", "7"});
        EXPECT_EQ(both.exitCode, kFailed);
        EXPECT_EQ(both.out,
                  "session 5:\n" + session({"5"}).out + "\nsession 7:\n" + session({"7"}).out);
        EXPECT_EQ(both.err, "znpolicy: no policy for id 6 in " + store_ + "\n");
        EXPECT_EQ(Json::parse(session({"5", "7", "--json"}).out),
                  Json::array({Json::parse(session({"5", "--json"}).out),
                               Json::parse(session({"7", "--json"}).out)}));
    }
}

// --- --explain ---

TEST_F(SessionCommand, ExplainsMistakesOfExample) {
    Publish("5", ReadFile(EXAMPLES "/policy-mistakes.xml"));
    const std::string text = Output({"session", "5", "--explain"});
    EXPECT_THAT(text, ContainsRegex("reconnect interval +0 +SessionKeepliveTime is missing +"
                                    "PolicyName=\"Back office\" AutoConnectInterval=\"30\" "
                                    "SessionKeepliveTime missing\n"));
    EXPECT_THAT(text, ContainsRegex("auto-close displayer seconds +0 +"
                                    "AutoCloseDisplayerSecond is not a number .*=\"600s\"\n"));
    EXPECT_THAT(text, ContainsRegex("Audio +0 +- +- +none +AudioBandwidthPercent is missing: "
                                    "module ignored +\"1\" \"800\" \"0\" -\n"));
    EXPECT_THAT(text, ContainsRegex("Total +2500000 +20000 +- +total "));
}

TEST_F(SessionCommand, ExplanationInJsonHasEverySettingAndModule) {
    Publish("5", ReadFile(EXAMPLES "/policy-mistakes.xml"));
    const Json json = Json::parse(Output({"session", "5", "--explain", "--json"}));
    EXPECT_EQ(json["id"], 5);
    EXPECT_EQ(json["settings"].size(), 7U);
    EXPECT_EQ(json["bandwidth"].size(), 16U);
    EXPECT_EQ(json["bandwidth"][0]["reason"], "AudioBandwidthPercent is missing: module ignored");
    EXPECT_EQ(json["bandwidth"][0]["items"][1],
              Json({{"item", "AudioBandwidth"}, {"text", "800"}}));
}

TEST_F(SessionCommand, ExplainTellsDamagedFromMissingItems) {
    Publish("5",
            "<Policy><PolicyName>name</PolicyName><A>" + std::string(70000, 'x') + "</A></Policy>");
    EXPECT_EQ(Run({"session", "5", "--explain"}).err, "");
    const std::string file = store_ + "/5.cdb";
    std::string contents = ReadFile(file);
    contents.at(contents.find("name")) ^= 1;
    WriteFile(file, contents);
    const ProcessResult result = Run({"session", "5", "--explain"});
    EXPECT_EQ(result.exitCode, kDone);
    EXPECT_THAT(result.out, HasSubstr("PolicyName missing"));
    EXPECT_EQ(result.err,
              "znpolicy: policy 5 is damaged: damaged items count as missing; see "
              "znpolicy policy verify 5\n");
}

TEST_F(SessionCommand, ExplainReportsMissingPolicy) {
    std::filesystem::create_directory(store_);
    EXPECT_EQ(Failure({"session", "6", "--explain"}),
              "znpolicy: no policy for id 6 in " + store_ + "\n");
}

}  // namespace
