// znpolicy update check and encode.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Program.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kDescription =
    "{\"packageInfo\": [{\"platform\": \"Model-A\",\n"
    "  \"packageName\": \"a.zip\", \"sha256Hash\": \"" +
    std::string(64, 'a') + "\", \"size\": \"706\"}]}\n";

class UpdateCheckCommands : public CommandTest {
   protected:
    std::string Write(const std::string& contents) {
        WriteFile(directory_ / "update.json", contents);
        return directory_ / "update.json";
    }
};

TEST_F(UpdateCheckCommands, CorrectDescriptionHasNoFindings) {
    EXPECT_EQ(Output({"update", "check", Write(kDescription)}), "0 errors, 0 warnings\n");
}

TEST_F(UpdateCheckCommands, FindingsHaveTheirPlace) {
    std::string text = kDescription;
    const std::string file = Write(text.replace(text.find("706"), 3, "70x"));
    EXPECT_EQ(Output({"update", "check", file}),
              file + ":2:" + std::to_string(text.find("\"70x\"") - text.find('\n')) +
                  ": warning: package 1: \"size\" is not a decimal number of bytes "
                  "[invalid-update-description]\n0 errors, 1 warning\n");
    EXPECT_EQ(Run({"update", "check", "--strict", file}).exitCode, kFailed);
    const Json json = Json::parse(Output({"update", "check", "--json", file}));
    EXPECT_EQ(json["warnings"], 1);
    EXPECT_EQ(json["files"][0]["findings"][0]["line"], 2);
}

TEST_F(UpdateCheckCommands, ChecksStandardInput) {
    EXPECT_THAT(Output({"update", "check", "-"}, Input("{}")), HasSubstr("standard input:1:1: "));
}

TEST_F(UpdateCheckCommands, ChecksSeveralFiles) {
    const std::string file = Write(kDescription);
    WriteFile(directory_ / "other.json", "{}");
    EXPECT_THAT(Output({"update", "check", file, directory_ / "other.json"}),
                AllOf(Not(HasSubstr(file)), HasSubstr(directory_ / "other.json:1:1: ")));
}

TEST_F(UpdateCheckCommands, FileThatCannotBeReadIsAFinding) {
    const std::string none = directory_ / "none";
    WriteFile(directory_ / "other.json", "{}");
    const ProcessResult result = Run({"update", "check", none, directory_ / "other.json"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.out, AllOf(HasSubstr(none + ": error: No such file or directory [refused]"),
                                  HasSubstr(directory_ / "other.json:1:1: "),
                                  HasSubstr("1 error, 1 warning\n")));
    EXPECT_EQ(result.err, "znpolicy: there are errors\n");
    const Json json = Json::parse(Run({"update", "check", "--json", none}).out);
    EXPECT_EQ(json["errors"], 1);
    EXPECT_EQ(json["files"][0]["name"], none);
}

TEST_F(UpdateCheckCommands, EncodeReportsMissingFile) {
    EXPECT_EQ(Failure({"update", "encode", directory_ / "none"}),
              "znpolicy: " + directory_ / "none: No such file or directory\n");
}

TEST_F(UpdateCheckCommands, FileIsRequired) {
    EXPECT_EQ(Run({"update", "check"}).exitCode, kWrongUsage);
    EXPECT_EQ(Run({"update", "encode"}).exitCode, kWrongUsage);
}

TEST_F(UpdateCheckCommands, EncodedDescriptionIsOneLineWithTheSameRecords) {
    const std::string file = Write(kDescription);
    const std::string encoded = Output({"update", "encode", file});
    EXPECT_EQ(encoded.find('\n'), encoded.size() - 1);
    EXPECT_EQ(Output({"update", "check", "-"}, Input(encoded)), "0 errors, 0 warnings\n");
    EXPECT_EQ(Output({"update", "convert", "-", "--json"}, Input(encoded)),
              Output({"update", "convert", file, "--json"}));
}

}  // namespace
