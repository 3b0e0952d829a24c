// znpolicy policy, znpolicy session, and what holds for every command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Program.h"
#include "TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

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

// A program with a store of the test's own.
class ZnPolicyTest : public testing::Test {
   protected:
    ZnPolicyTest() : store_(directory_ / "store") {}

    // Runs a command on the store.
    ProgramResult Run(std::vector<std::string> arguments, const Environment& environment = {}) {
        arguments.insert(arguments.begin(), {"--store", store_});
        return program_.Run(arguments, environment);
    }

    // Runs a command that must succeed without a word on standard error; its output.
    std::string OutputOf(const std::vector<std::string>& arguments) {
        const ProgramResult result = Run(arguments);
        EXPECT_EQ(result.status, kDone) << testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "") << testing::PrintToString(arguments);
        return result.output;
    }

    // Runs a command that must fail with one line and no other output; the line.
    std::string FailureOf(const std::vector<std::string>& arguments) {
        const ProgramResult result = Run(arguments);
        EXPECT_EQ(result.status, kFailed) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
        EXPECT_THAT(result.errors, MatchesRegex("znpolicy: [^\n]+\n"));
        return result.errors;
    }

    void Publish(const std::string& id, const std::string& xml) {
        WriteFile(directory_ / "policy.xml", xml);
        OutputOf({"policy", "publish", id, directory_ / "policy.xml"});
    }

    const TemporaryDirectory directory_;
    const std::string store_;
    Program program_;
};

// --- policy ---

TEST_F(ZnPolicyTest, PublishedPolicyIsListedAndShown) {
    WriteFile(directory_ / "policy.xml",
              "<Policy><Short>1</Short><MuchLongerName>two words</MuchLongerName></Policy>");
    EXPECT_EQ(OutputOf({"policy", "publish", "1001", directory_ / "policy.xml"}),
              "policy 1001: 2 items published in " + store_ + "\n");
    EXPECT_EQ(OutputOf({"policy", "list"}), "1001\n");
    EXPECT_EQ(OutputOf({"policy", "show", "1001"}),
              "ITEM            VALUE\n"
              "Short           1\n"
              "MuchLongerName  two words\n");
}

TEST_F(ZnPolicyTest, DashPublishesStandardInput) {
    program_.input = "<Policy><A>1</A></Policy>";
    OutputOf({"policy", "publish", "5", "-"});
    EXPECT_EQ(OutputOf({"policy", "show", "5", "A"}), "1\n");
    program_.input = "<Policy><A>1</B></Policy>";
    EXPECT_EQ(FailureOf({"policy", "publish", "5", "-"}),
              "znpolicy: standard input:1:15: mismatched tag\n");
}

TEST_F(ZnPolicyTest, RefusedDocumentIsNamedWithItsPlaceAndTheOldPolicyStays) {
    Publish("5", "<Policy><A>old</A></Policy>");
    const std::string file = directory_ / "bad.xml";
    WriteFile(file, "<Policy>\n  <A>new</A>\n  <A>again</A>\n</Policy>");
    EXPECT_EQ(FailureOf({"policy", "publish", "5", file}),
              "znpolicy: " + file + ":3:3: a second item \"A\"\n");
    EXPECT_EQ(OutputOf({"policy", "show", "5", "A"}), "old\n");
}

TEST_F(ZnPolicyTest, DocumentThatCannotBeReadIsAFailure) {
    const std::string missing = directory_ / "missing.xml";
    EXPECT_EQ(FailureOf({"policy", "publish", "5", missing}),
              "znpolicy: " + missing + ": No such file or directory\n");
    EXPECT_EQ(FailureOf({"policy", "publish", "5", directory_.Path()}),
              "znpolicy: " + directory_.Path() + ": Is a directory\n");
}

TEST_F(ZnPolicyTest, EmptyDocumentIsRefused) {
    WriteFile(directory_ / "empty.xml", "");
    EXPECT_THAT(FailureOf({"policy", "publish", "5", directory_ / "empty.xml"}),
                HasSubstr("empty.xml:1:1: no root element"));
}

TEST_F(ZnPolicyTest, StoreThatCannotBeWrittenIsAFailure) {
    WriteFile(store_, "not a directory");
    WriteFile(directory_ / "policy.xml", "<Policy/>");
    EXPECT_THAT(FailureOf({"policy", "publish", "5", directory_ / "policy.xml"}),
                HasSubstr("Not a directory"));
    EXPECT_THAT(FailureOf({"policy", "list"}), HasSubstr("Not a directory"));
}

TEST_F(ZnPolicyTest, StoreThatDoesNotExistYetListsNothing) {
    EXPECT_EQ(OutputOf({"policy", "list"}), "");
    EXPECT_EQ(Json::parse(OutputOf({"policy", "list", "--json"})), Json::array());
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(ZnPolicyTest, EveryIntegerIsAnId) {
    const std::vector<std::string> ids = {"-2147483648", "-5", "0", "5", "2147483647"};
    for (const std::string& id : ids) {
        Publish(id, "<Policy><Id>" + id + "</Id></Policy>");
    }
    for (const std::string& id : ids) {
        EXPECT_EQ(OutputOf({"policy", "show", id, "Id"}), id + "\n");
        EXPECT_EQ(Json::parse(OutputOf({"session", id, "--json"}))["id"], std::stoi(id));
    }
    EXPECT_EQ(Json::parse(OutputOf({"policy", "list", "--json"})),
              Json({-2147483647 - 1, -5, 0, 5, 2147483647}));
    for (const std::string& id : ids) {
        OutputOf({"policy", "remove", id});
    }
    EXPECT_EQ(OutputOf({"policy", "list"}), "");
}

TEST_F(ZnPolicyTest, RemovedPolicyIsGone) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(OutputOf({"policy", "remove", "5"}), "policy 5: removed\n");
    EXPECT_EQ(FailureOf({"policy", "remove", "5"}),
              "znpolicy: no policy for id 5 in " + store_ + "\n");
    EXPECT_EQ(FailureOf({"policy", "show", "5"}),
              "znpolicy: no policy for id 5 in " + store_ + "\n");
}

TEST_F(ZnPolicyTest, MissingItemIsAFailure) {
    Publish("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(FailureOf({"policy", "show", "5", "B"}), "znpolicy: policy 5 has no item \"B\"\n");
}

TEST_F(ZnPolicyTest, DamagedPolicyIsAFailure) {
    WriteFile(store_ + "/5.cdb", "damaged");
    EXPECT_EQ(FailureOf({"policy", "show", "5"}),
              "znpolicy: not a policy file, or a damaged one: " + store_ + "/5.cdb\n");
}

TEST_F(ZnPolicyTest, ItemIsShownRawTableEscapedAndJsonExact) {
    const std::string value = " two\nlines\t\xC3\xA4 \\ \"\xC2\x85 ";
    Publish("5", "<Policy><Group><A>" + value + "</A></Group></Policy>");
    EXPECT_EQ(OutputOf({"policy", "show", "5", "Group/A"}), value + "\n");
    EXPECT_EQ(OutputOf({"policy", "show", "5"}),
              "ITEM     VALUE\n"
              "Group/A   two\\nlines\\t\xC3\xA4 \\ \"\\u0085\n");
    EXPECT_EQ(Json::parse(OutputOf({"policy", "show", "5", "--json"})), Json({{"Group/A", value}}));
    EXPECT_EQ(Json::parse(OutputOf({"policy", "show", "5", "Group/A", "--json"})), Json(value));
}

TEST_F(ZnPolicyTest, ItemsAreShownInPublishedOrder) {
    Publish("5", "<Policy><Z>1</Z><A>2</A><M>3</M></Policy>");
    std::vector<std::string> keys;
    const Json shown = Json::parse(OutputOf({"policy", "show", "5", "--json"}));
    for (const auto& item : shown.items()) {
        keys.push_back(item.key());
    }
    EXPECT_THAT(keys, ElementsAre("Z", "A", "M"));
}

TEST_F(ZnPolicyTest, BytesThatAreNotTextAreShownWithoutHarm) {
    Publish("5", "<Policy><A>XX</A></Policy>");
    std::string damaged = ReadFile(store_ + "/5.cdb");
    damaged.replace(damaged.find("XX"), 2, "\x1B\xFF");
    WriteFile(store_ + "/5.cdb", damaged);
    EXPECT_EQ(OutputOf({"policy", "show", "5"}),
              "ITEM  VALUE\n"
              "A     \\x1b\\xff\n");
    EXPECT_EQ(Json::parse(OutputOf({"policy", "show", "5", "--json"})),
              Json({{"A", "\x1B\xEF\xBF\xBD"}}));
}

// --- session ---

TEST_F(ZnPolicyTest, SessionShowsWhatTheReadersAnswer) {
    Publish("5", kPolicy);
    EXPECT_THAT(OutputOf({"session", "5"}), StartsWith("SETTING                          VALUE\n"
                                                       "intelligent data transport flag  7\n"
                                                       "reconnect interval               30\n"
                                                       "reconnect keep-alive time        -1\n"
                                                       "disable login hint               yes\n"
                                                       "auto-close displayer after       600 s\n"));
}

TEST_F(ZnPolicyTest, SessionAnswersInJson) {
    Publish("5", kPolicy);
    const Json session = Json::parse(OutputOf({"session", "5", "--json"}));
    EXPECT_EQ(session["id"], 5);
    EXPECT_EQ(session["intelligentDataTransportFlag"], 7);
    EXPECT_EQ(session["reconnectInterval"], 30);
    EXPECT_EQ(session["reconnectKeepliveTime"], -1);
    EXPECT_EQ(session["disableLoginHint"], true);
    EXPECT_EQ(session["autoCloseDisplayerSeconds"], 600);
}

TEST_F(ZnPolicyTest, SessionOfAnEmptyPolicyIsNeutral) {
    Publish("5", "<Policy/>");
    const Json session = Json::parse(OutputOf({"session", "5", "--json"}));
    EXPECT_EQ(session["intelligentDataTransportFlag"], 0);
    EXPECT_EQ(session["reconnectInterval"], 0);
    EXPECT_EQ(session["reconnectKeepliveTime"], 0);
    EXPECT_EQ(session["disableLoginHint"], false);
    EXPECT_EQ(session["autoCloseDisplayerSeconds"], 0);
}

TEST_F(ZnPolicyTest, SessionSeesEachPolicyAsItIsPublished) {
    Publish("5", "<Policy><IntelligentDataTransportFlag>1</IntelligentDataTransportFlag></Policy>");
    EXPECT_EQ(Json::parse(OutputOf({"session", "5", "--json"}))["intelligentDataTransportFlag"], 1);
    Publish("5", "<Policy><IntelligentDataTransportFlag>2</IntelligentDataTransportFlag></Policy>");
    EXPECT_EQ(Json::parse(OutputOf({"session", "5", "--json"}))["intelligentDataTransportFlag"], 2);
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

TEST_F(ZnPolicyTest, SessionShowsAllowancesWithTheLimitThatWonAndThePlugins) {
    Publish("5", kBandwidthAndPlugins);
    EXPECT_THAT(OutputOf({"session", "5"}),
                EndsWith("\n"
                         "MODULE  BYTES/S  BYTES/MS  LIMIT\n"
                         "Audio   62500    62        share\n"
                         "Total   125000   125       total\n"
                         "Video   37500    37        absolute\n"
                         "\n"
                         "TEXT1  TEXT2  HEX1  HEX2  TEXT3  TEXT4  TEXT5\n"
                         "A      B      0x1f  0xff  C      D      E\n"
                         "F      G      0x3   0x4   H      I      J\n"));
}

TEST_F(ZnPolicyTest, SessionAnswersAllowancesAndPluginsInJson) {
    Publish("5", kBandwidthAndPlugins);
    const Json session = Json::parse(OutputOf({"session", "5", "--json"}));
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

TEST_F(ZnPolicyTest, SessionWithoutAllowancesAndPluginsSaysSo) {
    Publish("5", "<Policy/>");
    EXPECT_THAT(OutputOf({"session", "5"}),
                EndsWith("\nno bandwidth allowances\n\nno virtual-channel plugins\n"));
    const Json session = Json::parse(OutputOf({"session", "5", "--json"}));
    EXPECT_EQ(session["bandwidth"], Json::array());
    EXPECT_EQ(session["virtualChannels"], Json::array());
}

TEST_F(ZnPolicyTest, SessionSaysWhyAPluginListIsRefused) {
    Publish("5",
            "<Policy><PolicyName/><VirtualChannelEnable>1</VirtualChannelEnable>"
            "<VirtualChannelOptionNames>A@B@1@2@C@D</VirtualChannelOptionNames></Policy>");
    const std::string problem = "item 1 (\"A@B@1@2@C@D\") has 6 fields; 7 are needed";
    EXPECT_THAT(OutputOf({"session", "5"}),
                EndsWith("\nvirtual-channel list refused: " + problem + "\n"));
    const Json session = Json::parse(OutputOf({"session", "5", "--json"}));
    EXPECT_EQ(session["virtualChannels"], Json::array());
    EXPECT_EQ(session["virtualChannelsRefused"], problem);
}

TEST_F(ZnPolicyTest, SessionWithoutAPolicyIsAFailure) {
    EXPECT_EQ(FailureOf({"session", "6"}), "znpolicy: no policy for id 6 in " + store_ + "\n");
    WriteFile(store_ + "/6.cdb", "damaged");
    EXPECT_EQ(FailureOf({"session", "6"}),
              "znpolicy: not a policy file, or a damaged one: " + store_ + "/6.cdb\n");
}

TEST_F(ZnPolicyTest, ExamplePolicyHasEveryItemOfTheSessionReaders) {
    OutputOf({"policy", "publish", "1001", EXAMPLES "/policy.xml"});
    const ProgramResult result = Run({"session", "1001", "--log-level", "info"});
    EXPECT_EQ(result.status, kDone);
    EXPECT_THAT(result.errors, HasSubstr("ReadBandwidthPolicy"));
    EXPECT_THAT(result.errors, Not(HasSubstr("ailed")));
    EXPECT_THAT(result.errors, Not(HasSubstr("disable\n")));
    EXPECT_THAT(result.output, HasSubstr("disable login hint               yes\n"));
    EXPECT_THAT(result.output, HasSubstr("auto-close displayer after       600 s\n"));
}

TEST_F(ZnPolicyTest, MalformedExampleIsRefused) {
    EXPECT_THAT(FailureOf({"policy", "publish", "1001", EXAMPLES "/policy-malformed.xml"}),
                HasSubstr("policy-malformed.xml:6:"));
}

// --- Global options and exit status ---

TEST_F(ZnPolicyTest, GlobalOptionsStandBeforeOrAfterTheCommand) {
    Publish("-5", "<Policy><A>1</A></Policy>");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--store", store_, "policy", "show", "-5", "A"},
             {"policy", "--store", store_, "show", "-5", "A"},
             {"policy", "show", "--store", store_, "-5", "A"},
             {"policy", "show", "-5", "A", "--store=" + store_}}) {
        const ProgramResult result = program_.Run(arguments);
        EXPECT_EQ(result.status, kDone) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "1\n") << testing::PrintToString(arguments);
    }
}

TEST_F(ZnPolicyTest, StoreOptionWinsOverTheEnvironment) {
    Publish("5", "<Policy/>");
    const ProgramResult fromEnvironment =
        program_.Run({"policy", "list"}, {"ZN_POLICY_STORE=" + store_});
    EXPECT_EQ(fromEnvironment.output, "5\n");
    const ProgramResult fromOption = Run({"policy", "list"}, {"ZN_POLICY_STORE=/nowhere"});
    EXPECT_EQ(fromOption.output, "5\n");
}

TEST_F(ZnPolicyTest, VersionAndHelpSucceed) {
    const ProgramResult version = program_.Run({"--version"});
    EXPECT_EQ(version.status, kDone);
    EXPECT_THAT(version.output, MatchesRegex("znpolicy [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"},
                                               {"policy", "--help"},
                                               {"policy", "publish", "--help"},
                                               {"session", "-h"}}) {
        const ProgramResult help = program_.Run(arguments);
        EXPECT_EQ(help.status, kDone) << testing::PrintToString(arguments);
        EXPECT_THAT(help.output, HasSubstr("Usage: znpolicy")) << testing::PrintToString(arguments);
    }
}

TEST_F(ZnPolicyTest, WrongUsageIsStatus2AndDoesNothing) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"bogus"},
                                               {"policy"},
                                               {"policy", "bogus"},
                                               {"policy", "show"},
                                               {"policy", "show", "one"},
                                               {"policy", "show", "5x"},
                                               {"policy", "show", ""},
                                               {"policy", "show", "0x10"},
                                               {"policy", "show", "010"},
                                               {"policy", "show", "1.5"},
                                               {"policy", "show", "2147483648"},
                                               {"policy", "show", "-2147483649"},
                                               {"policy", "show", "5", "A", "B"},
                                               {"policy", "publish", "5"},
                                               {"policy", "remove"},
                                               {"policy", "list", "--bogus"},
                                               {"policy", "list", "--store"},
                                               {"policy", "list", "--log-level", "loud"},
                                               {"session"},
                                               {"session", "5", "6"}}) {
        const ProgramResult result = Run(arguments);
        EXPECT_EQ(result.status, kWrongUsage) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
        EXPECT_NE(result.errors, "") << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(ZnPolicyTest, EmptyNamesDoNotStandForTheDefaults) {
    for (const std::string option : {"--store", "--process-dir", "--log-file"}) {
        const ProgramResult result = program_.Run({option, "", "policy", "list"});
        EXPECT_EQ(result.status, kWrongUsage) << option;
        EXPECT_THAT(result.errors, HasSubstr(option));
    }
}

TEST_F(ZnPolicyTest, AnEmptyItemNameIsNoItem) {
    Publish("5", kPolicy);
    EXPECT_EQ(FailureOf({"policy", "show", "5", ""}), "znpolicy: policy 5 has no item \"\"\n");
}

TEST_F(ZnPolicyTest, OutputThatCannotBeWrittenIsAFailure) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    Publish("5", kPolicy);
    program_.outputFile = "/dev/full";
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "list"},
                                               {"policy", "show", "5"},
                                               {"policy", "show", "5", "PolicyName"},
                                               {"policy", "show", "5", "--json"},
                                               {"session", "5"},
                                               {"session", "5", "--json"},
                                               {"--help"},
                                               {"--version"}}) {
        EXPECT_EQ(FailureOf(arguments), "znpolicy: cannot write to standard output\n");
    }
}

TEST_F(ZnPolicyTest, FailureIsOneLineWhateverItNames) {
    EXPECT_EQ(FailureOf({"policy", "publish", "5", directory_ / "a\nb\x1B[0m"}),
              "znpolicy: " + directory_.Path() + "/a\\nb\\x1b[0m: No such file or directory\n");
}

// --- Log records ---

TEST_F(ZnPolicyTest, LogRecordsAreShownOnlyWhenAskedFor) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(Run({"session", "5"}).errors, "");
    EXPECT_EQ(Run({"session", "5"}, {"ZN_LOG_LEVEL=", "ZN_LOG_FILE="}).errors, "");
    EXPECT_THAT(Run({"session", "5", "--log-level", "info"}).errors,
                HasSubstr("PolicyName Failed"));
    EXPECT_THAT(Run({"session", "5"}, {"ZN_LOG_LEVEL=info"}).errors,
                HasSubstr("PolicyName Failed"));
    EXPECT_EQ(Run({"session", "5", "--log-level", "off"}, {"ZN_LOG_LEVEL=info"}).errors, "");
    EXPECT_THAT(Run({"session", "5", "--log-level", "error"}).errors,
                Not(HasSubstr("PolicyName Failed")));
}

TEST_F(ZnPolicyTest, LogRecordsGoToTheLogFile) {
    Publish("5", "<Policy/>");
    const std::string log = directory_ / "log";
    EXPECT_EQ(Run({"session", "5", "--log-file", log}).errors, "");
    EXPECT_THAT(ReadFile(log), HasSubstr("PolicyName Failed"));
    std::filesystem::remove(log);
    EXPECT_EQ(Run({"session", "5"}, {"ZN_LOG_FILE=" + log}).errors, "");
    EXPECT_THAT(ReadFile(log), HasSubstr("PolicyName Failed"));
}

}  // namespace
