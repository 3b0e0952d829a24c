#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "Program.h"

namespace {

using testing::HasSubstr;

constexpr int kDifferent = 1;
constexpr int kTrouble = 2;

class PolicyDiffCommand : public CommandTest {
   protected:
    ProcessResult Diff(const std::string& id, const std::string& xml) {
        return Run({"policy", "diff", id, "-"}, Input(xml));
    }

    void ExpectTrouble(const ProcessResult& result, const std::string& message) {
        EXPECT_EQ(result.exitCode, kTrouble);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "znpolicy: " + message + "\n");
    }
};

TEST_F(PolicyDiffCommand, ReportsNoDifferences) {
    Publish("5", "<Policy><A>1</A><B/></Policy>");
    const ProcessResult same = Diff("5", "<Policy>\n<A><![CDATA[1]]></A><B></B></Policy>");
    EXPECT_EQ(same.exitCode, kDone);
    EXPECT_EQ(same.out, "no differences\n");
    EXPECT_EQ(same.err, "");
}

TEST_F(PolicyDiffCommand, OrderIsNoDifference) {
    Publish("5", "<Policy><A>1</A><B/></Policy>");
    EXPECT_EQ(Diff("5", "<Policy><B/><A>1</A></Policy>").exitCode, kDone);
}

TEST_F(PolicyDiffCommand, ShowsRemovedAndChangedThenAddedItems) {
    Publish("5", "<Policy><Z>1</Z><Gone/><A>2</A><Same/></Policy>");
    const std::string file = directory_ / "new.xml";
    WriteFile(file, "<Policy><New>n</New><A>x</A><G><M>m</M></G><Z/><Same/></Policy>");
    const ProcessResult result = Run({"policy", "diff", "5", file});
    EXPECT_EQ(result.exitCode, kDifferent);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "- Z = \"1\"\n"
              "+ Z = \"\"\n"
              "- Gone = \"\"\n"
              "- A = \"2\"\n"
              "+ A = \"x\"\n"
              "+ New = \"n\"\n"
              "+ G/M = \"m\"\n");
    const ProcessResult json = Run({"policy", "diff", "5", file, "--json"});
    EXPECT_EQ(json.exitCode, kDifferent);
    EXPECT_EQ(Json::parse(json.out), Json({{"id", 5},
                                           {"changes",
                                            {{{"item", "Z"}, {"old", "1"}, {"new", ""}},
                                             {{"item", "Gone"}, {"old", ""}, {"new", nullptr}},
                                             {{"item", "A"}, {"old", "2"}, {"new", "x"}},
                                             {{"item", "New"}, {"old", nullptr}, {"new", "n"}},
                                             {{"item", "G/M"}, {"old", nullptr}, {"new", "m"}}}}}));
}

TEST_F(PolicyDiffCommand, EmptyJsonListForNoDifferences) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(Json::parse(Output({"policy", "diff", "5", "-", "--json"}, Input("<Policy/>"))),
              Json({{"id", 5}, {"changes", Json::array()}}));
}

TEST_F(PolicyDiffCommand, DifferentValuesLookDifferent) {
    Publish("5", "<Policy><A>a\n</A><B>x</B></Policy>");
    EXPECT_EQ(Diff("5", "<Policy><A>a\\n</A><B>x " + RightToLeftOverride() + "</B></Policy>").out,
              "- A = \"a\\n\"\n"
              "+ A = \"a\\\\n\"\n"
              "- B = \"x\"\n"
              "+ B = \"x \\u202e\"\n");
}

TEST_F(PolicyDiffCommand, EverythingIsAddedWithoutPolicy) {
    const ProcessResult withoutStore = Diff("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(withoutStore.exitCode, kDifferent);
    EXPECT_EQ(withoutStore.out, "+ A = \"1\"\n");
    EXPECT_FALSE(std::filesystem::exists(store_));
    Publish("6", "<Policy/>");
    EXPECT_EQ(Diff("5", "<Policy><A>1</A></Policy>").out, "+ A = \"1\"\n");
    EXPECT_EQ(Diff("5", "<Policy/>").exitCode, kDone);
}

TEST_F(PolicyDiffCommand, RefusedDocumentIsTrouble) {
    Publish("5", "<Policy><A>1</A></Policy>");
    ExpectTrouble(Diff("5", "<Policy>\n<A/><A/></Policy>"),
                  "standard input:2:5: a second item \"A\"");
}

TEST_F(PolicyDiffCommand, UnreadableInputsAreTrouble) {
    WriteFile(store_ + "/5.cdb", "damaged");
    ExpectTrouble(Diff("5", "<Policy/>"),
                  "not a policy file, or a damaged one: " + store_ + "/5.cdb");
    const std::string missing = directory_ / "missing.xml";
    ExpectTrouble(Run({"policy", "diff", "6", missing}), missing + ": No such file or directory");
    EXPECT_EQ(Run({"policy", "diff", "6"}).exitCode, kTrouble);
}

TEST_F(PolicyDiffCommand, UnwritableOutputIsTrouble) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    Publish("5", "<Policy/>");
    ProcessOptions options = Input("<Policy/>");
    options.outputFile = "/dev/full";
    ExpectTrouble(Run({"policy", "diff", "5", "-"}, options), "cannot write to standard output");
}

TEST_F(PolicyDiffCommand, HelpSaysExitStatuses) {
    EXPECT_THAT(Output({"policy", "diff", "--help"}),
                HasSubstr("Exit status:\n"
                          "  0      There are no differences\n"
                          "  1      There are differences\n"
                          "  2      The command failed, or the command line is wrong\n"));
}

class PolicyExportCommand : public CommandTest {};

TEST_F(PolicyExportCommand, PrintsDocument) {
    Publish("5", "<Policy><G><A>1 &lt; 2</A><B/></G></Policy>");
    EXPECT_EQ(Output({"policy", "export", "5"}),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Policy>\n"
              "    <G>\n"
              "        <A>1 &lt; 2</A>\n"
              "        <B/>\n"
              "    </G>\n"
              "</Policy>\n");
}

TEST_F(PolicyExportCommand, PublishesToTheSameFile) {
    const std::string file = directory_ / "exported.xml";
    for (const std::string example : {"/policy.xml", "/policy-mistakes.xml"}) {
        Output({"policy", "publish", "--quiet", "5", EXAMPLES + example});
        EXPECT_EQ(Output({"policy", "export", "5", "--output", file}), "");
        Output({"policy", "publish", "--quiet", "6", file});
        EXPECT_EQ(ReadFile(store_ + "/5.cdb"), ReadFile(store_ + "/6.cdb")) << example;
    }
}

TEST_F(PolicyExportCommand, ReplacesOutputFile) {
    Publish("5", "<Policy/>");
    const std::string file = directory_ / "exported.xml";
    WriteFile(file, std::string(1000, 'x'));
    Output({"policy", "export", "5", "--output", file});
    EXPECT_EQ(ReadFile(file), Output({"policy", "export", "5", "--output", "-"}));
}

TEST_F(PolicyExportCommand, FailureKeepsOutputFile) {
    std::filesystem::create_directory(store_);
    const std::string file = directory_ / "exported.xml";
    WriteFile(file, "old");
    EXPECT_EQ(Failure({"policy", "export", "5", "--output", file}),
              "znpolicy: no policy for id 5 in " + store_ + "\n");
    EXPECT_EQ(ReadFile(file), "old");
}

TEST_F(PolicyExportCommand, FailedWriteKeepsOutputFile) {
    Publish("5", "<Policy><A>" + std::string(9000, 'x') + "</A></Policy>");
    const std::string file = directory_ / "exported.xml";
    WriteFile(file, "old");
    const ProcessResult result =
        RunProgram({"sh", "-c", "ulimit -f 8; trap '' XFSZ; exec \"$@\"", "sh", ZNPOLICY, "--store",
                    store_, "policy", "export", "5", "--output", file});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.err, "znpolicy: " + file + ": File too large\n");
    EXPECT_EQ(ReadFile(file), "old");
}

TEST_F(PolicyExportCommand, OutputFileKeepsItsPermissionsAndLinksAreFollowed) {
    Publish("5", "<Policy/>");
    const std::string file = directory_ / "exported.xml";
    const std::string link = directory_ / "link.xml";
    WriteFile(file, "old");
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(0640));
    std::filesystem::create_symlink(file, link);
    for (const std::string& output : {file, link}) {
        WriteFile(file, "old");
        Output({"policy", "export", "5", "--output", output});
        EXPECT_EQ(ReadFile(file), Output({"policy", "export", "5"}));
        EXPECT_EQ(std::filesystem::status(file).permissions(),
                  static_cast<std::filesystem::perms>(0640));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(PolicyExportCommand, ReportsUnwritableOutput) {
    Publish("5", "<Policy/>");
    const std::string file = directory_ / "missing/exported.xml";
    EXPECT_EQ(Failure({"policy", "export", "5", "--output", file}),
              "znpolicy: " + file + ": No such file or directory\n");
}

TEST_F(PolicyExportCommand, ReportsFullDisk) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    Publish("5", "<Policy/>");
    EXPECT_EQ(Failure({"policy", "export", "5", "--output", "/dev/full"}),
              "znpolicy: /dev/full: No space left on device\n");
}

TEST_F(PolicyExportCommand, ReportsPolicyThatNoDocumentHas) {
    WriteFile(directory_ / "policy.xml",
              "<Policy><A><![CDATA[" + std::string(4 << 20, '&') + "]]></A></Policy>");
    Output({"policy", "publish", "--quiet", "5", directory_ / "policy.xml"});
    EXPECT_EQ(Failure({"policy", "export", "5"}),
              "znpolicy: policy 5 cannot be exported: the document is larger than 16 MiB\n");
}

}  // namespace
