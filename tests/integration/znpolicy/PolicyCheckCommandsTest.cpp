// znpolicy policy items and check, and the findings of policy publish.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Program.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kCorrect =
    "<Policy><IntelligentDataTransportFlag>1</IntelligentDataTransportFlag></Policy>";
const std::string kMistaken = "<Policy>\n  <AudioBandwith>1</AudioBandwith>\n</Policy>";
const std::string kFinding =
    ":2:3: warning: no reader uses \"AudioBandwith\"; did you mean \"AudioBandwidth\"? "
    "[unknown-item]\n";

class PolicyCheckCommands : public CommandTest {
   protected:
    std::string Write(const std::string& name, const std::string& contents) {
        WriteFile(directory_ / name, contents);
        return directory_ / name;
    }
};

// --- check ---

TEST_F(PolicyCheckCommands, CorrectDocumentHasNoFindings) {
    const std::string file = Write("a.xml", kCorrect);
    EXPECT_EQ(Output({"policy", "check", file}), "0 errors, 0 warnings\n");
    EXPECT_EQ(Output({"policy", "check", "--strict", file}), "0 errors, 0 warnings\n");
}

TEST_F(PolicyCheckCommands, WarningsFailOnlyIfStrict) {
    const std::string file = Write("a.xml", kMistaken);
    const std::string findings = file + kFinding + "0 errors, 1 warning\n";
    EXPECT_EQ(Output({"policy", "check", file}), findings);
    const ProcessResult strict = Run({"policy", "check", "--strict", file});
    EXPECT_EQ(strict.exitCode, kFailed);
    EXPECT_EQ(strict.out, findings);
    EXPECT_EQ(strict.err, "znpolicy: there are warnings\n");
}

TEST_F(PolicyCheckCommands, ChecksEveryFile) {
    const std::string missing = directory_ / "missing.xml";
    const std::string refused = Write("refused.xml", "<Policy>");
    const std::string mistaken = Write("mistaken.xml", kMistaken);
    const ProcessResult result = Run({"policy", "check", missing, refused, mistaken});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.err, "znpolicy: there are errors\n");
    EXPECT_EQ(result.out, missing + ": error: No such file or directory [refused]\n" + refused +
                              ":1:9: error: an element is not closed [refused]\n" + mistaken +
                              kFinding + "2 errors, 1 warning\n");
}

TEST_F(PolicyCheckCommands, ChecksStandardInput) {
    EXPECT_EQ(Output({"policy", "check", "-"}, Input(kMistaken)),
              "standard input" + kFinding + "0 errors, 1 warning\n");
}

TEST_F(PolicyCheckCommands, PrintsFindingsAsJson) {
    const std::string file = Write("a.xml", kMistaken);
    const ProcessResult result = Run({"policy", "check", "--json", "--strict", file});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(Json::parse(result.out), Json({{"files",
                                              {{{"name", file},
                                                {"findings",
                                                 {{{"severity", "warning"},
                                                   {"code", "unknown-item"},
                                                   {"item", "AudioBandwith"},
                                                   {"line", 2},
                                                   {"column", 3},
                                                   {"message", "no reader uses \"AudioBandwith\""},
                                                   {"suggestion", "AudioBandwidth"}}}}}}},
                                             {"errors", 0},
                                             {"warnings", 1}}));
}

TEST_F(PolicyCheckCommands, ChecksPublishedPolicyById) {
    Publish("-5", kMistaken);
    EXPECT_THAT(Output({"policy", "check", "--id", "-5"}),
                StartsWith("policy -5: warning: no reader uses"));
    EXPECT_THAT(Failure({"policy", "check", "--id", "6"}), HasSubstr("no policy for id 6"));
}

TEST_F(PolicyCheckCommands, ChecksSeveralPolicies) {
    Publish("5", kMistaken);
    Publish("7", kMistaken);
    const ProcessResult result =
        Run({"policy", "check", "--id", "5", "--id", "6", "--id", "7", "--json"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, HasSubstr("no policy for id 6"));
    const Json files = Json::parse(result.out).at("files");
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0]["name"], "policy 5");
    EXPECT_EQ(files[1]["name"], "policy 7");
}

TEST_F(PolicyCheckCommands, WrongUsageExitsWith2) {
    const std::string file = Write("a.xml", kCorrect);
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "check"},
                                               {"policy", "check", "--id", "5", file},
                                               {"policy", "check", "-", file, "-"},
                                               {"update", "check", "-", "-"},
                                               {"policy", "check", "--id", "five"},
                                               {"policy", "check", "--bogus", file},
                                               {"policy", "items", "PolicyName", "--markdown"},
                                               {"policy", "items", "--json", "--markdown"},
                                               {"policy", "items", "A", "B"}}) {
        EXPECT_EQ(Run(arguments).exitCode, kWrongUsage) << testing::PrintToString(arguments);
    }
}

TEST_F(PolicyCheckCommands, ExamplePolicyIsCorrect) {
    EXPECT_EQ(Output({"policy", "check", EXAMPLES "/policy.xml"}), "0 errors, 0 warnings\n");
}

TEST_F(PolicyCheckCommands, FindsMistakesOfExample) {
    const std::string findings = Output({"policy", "check", EXAMPLES "/policy-mistakes.xml"});
    EXPECT_THAT(findings, HasSubstr("did you mean \"SessionKeepliveTime\"? [unknown-item]"));
    EXPECT_THAT(findings, HasSubstr("[not-a-number]"));
    EXPECT_THAT(findings, HasSubstr("AudioBandwidthPercent is missing"));
}

// --- publish ---

TEST_F(PolicyCheckCommands, PublishReportsFindings) {
    const std::string file = Write("a.xml", kMistaken);
    const std::string published = "policy 5: 1 items published in " + store_ + "\n";
    const ProcessResult result = Run({"policy", "publish", "5", file});
    EXPECT_EQ(result.exitCode, kDone);
    EXPECT_EQ(result.out, published);
    EXPECT_EQ(result.err, file + kFinding + "0 errors, 1 warning\n");
    EXPECT_EQ(Output({"policy", "publish", "5", "--quiet", file}), published);
    EXPECT_EQ(Output({"policy", "publish", "5", Write("b.xml", kCorrect)}), published);
}

TEST_F(PolicyCheckCommands, StrictPublishKeepsOldPolicy) {
    Output({"policy", "publish", "--strict", "5", Write("a.xml", kCorrect)});
    const std::string file = Write("b.xml", kMistaken);
    const std::string refusal = "znpolicy: policy 5 not published: there are warnings\n";
    const ProcessResult refused = Run({"policy", "publish", "--strict", "5", file});
    EXPECT_EQ(refused.exitCode, kFailed);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, file + kFinding + "0 errors, 1 warning\n" + refusal);
    EXPECT_EQ(Failure({"policy", "publish", "--strict", "--quiet", "5", file}), refusal);
    EXPECT_EQ(Output({"policy", "show", "5", "IntelligentDataTransportFlag"}), "1\n");
}

TEST_F(PolicyCheckCommands, StrictPublishReportsRefusalOnce) {
    EXPECT_EQ(Failure({"policy", "publish", "--strict", "5", "-"}, Input("<Policy>")),
              "znpolicy: standard input:1:9: an element is not closed\n");
}

// --- items ---

TEST_F(PolicyCheckCommands, ListsItems) {
    EXPECT_THAT(Output({"policy", "items"}), HasSubstr("\nAudioBandwidthPercent "));
    const Json items = Json::parse(Output({"policy", "items", "--json"}));
    EXPECT_EQ(items.size(), 76U);
    EXPECT_EQ(items[0]["name"], "PolicyName");
}

TEST_F(PolicyCheckCommands, ShowsOneItemInFull) {
    EXPECT_THAT(Output({"policy", "items", "AudioBandwidth"}), HasSubstr("unit      kbit/s\n"));
    const Json item = Json::parse(Output({"policy", "items", "AudioBandwidth", "--json"}));
    EXPECT_EQ(item["type"], "integer");
    EXPECT_EQ(item["reader"], "ZnBandwidthPolicy::ReadBandwidthPolicy");
    EXPECT_THAT(Failure({"policy", "items", "audiobandwidth"}),
                EndsWith("; did you mean \"AudioBandwidth\"?\n"));
    EXPECT_EQ(Failure({"policy", "items", "Wallpaper"}),
              "znpolicy: no reader uses \"Wallpaper\"\n");
}

TEST_F(PolicyCheckCommands, MarkdownIsTheDocument) {
    EXPECT_EQ(Output({"policy", "items", "--markdown"}), ReadFile(DOCS "/policy-items.md"));
}

}  // namespace
