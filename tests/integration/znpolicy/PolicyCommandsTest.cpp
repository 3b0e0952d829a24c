#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "IsolatedCheck.h"
#include "Program.h"

namespace {

using testing::HasSubstr;

class PolicyCommands : public CommandTest {};

TEST_F(PolicyCommands, PublishesAndShows) {
    WriteFile(directory_ / "policy.xml",
              "<Policy><Short>1</Short><MuchLongerName>two words</MuchLongerName></Policy>");
    EXPECT_EQ(Output({"policy", "publish", "--quiet", "1001", directory_ / "policy.xml"}),
              "policy 1001: 2 items published in " + store_ + "\n");
    EXPECT_EQ(Output({"policy", "show", "1001"}),
              "ITEM            VALUE\n"
              "Short           1\n"
              "MuchLongerName  two words\n");
}

TEST_F(PolicyCommands, PublishesStandardInput) {
    Publish("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5", "A"}), "1\n");
    EXPECT_EQ(Failure({"policy", "publish", "5", "-"}, Input("<Policy><A>1</B></Policy>")),
              "znpolicy: standard input:1:15: mismatched tag\n");
}

TEST_F(PolicyCommands, RefusedDocumentKeepsOldPolicy) {
    Publish("5", "<Policy><A>old</A></Policy>");
    const std::string file = directory_ / "bad.xml";
    WriteFile(file, "<Policy>\n  <A>new</A>\n  <A>again</A>\n</Policy>");
    EXPECT_EQ(Failure({"policy", "publish", "5", file}),
              "znpolicy: " + file + ":3:3: a second item \"A\"\n");
    EXPECT_EQ(Output({"policy", "show", "5", "A"}), "old\n");
}

TEST_F(PolicyCommands, ReportsUnreadableDocument) {
    const std::string missing = directory_ / "missing.xml";
    EXPECT_EQ(Failure({"policy", "publish", "5", missing}),
              "znpolicy: " + missing + ": No such file or directory\n");
    EXPECT_EQ(Failure({"policy", "publish", "5", directory_.Path()}),
              "znpolicy: " + directory_.Path() + ": Is a directory\n");
}

TEST_F(PolicyCommands, ReportsDocumentWithoutPermission) {
    WriteFile(directory_ / "policy.xml", "<Policy/>");
    std::filesystem::permissions(directory_ / "policy.xml", std::filesystem::perms::none);
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory_.Path());
        if (access(ZNPOLICY, X_OK) != 0) {
            NotPossibleHere("run the program as an ordinary user");
        }
        const ProcessResult result = Run({"policy", "publish", "5", directory_ / "policy.xml"});
        std::cerr << result;
        return result.exitCode == kFailed &&
               result.err == "znpolicy: " + directory_ / "policy.xml: Permission denied\n";
    }));
}

TEST_F(PolicyCommands, RejectsEndlessDocument) {
    EXPECT_EQ(Failure({"policy", "publish", "5", "/dev/zero"}),
              "znpolicy: /dev/zero: larger than the limit of 16 MiB\n");
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(PolicyCommands, RejectsEmptyDocument) {
    WriteFile(directory_ / "empty.xml", "");
    EXPECT_THAT(Failure({"policy", "publish", "5", directory_ / "empty.xml"}),
                HasSubstr("empty.xml:1:1: no root element"));
}

TEST_F(PolicyCommands, ReportsUnusableStore) {
    WriteFile(store_, "not a directory");
    WriteFile(directory_ / "policy.xml", "<Policy/>");
    EXPECT_THAT(Failure({"policy", "publish", "5", directory_ / "policy.xml"}),
                HasSubstr("Not a directory"));
    EXPECT_THAT(Failure({"policy", "list"}), HasSubstr("Not a directory"));
}

TEST_F(PolicyCommands, ReportsMissingStore) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "list"},
                                               {"policy", "show", "5"},
                                               {"policy", "show", "5", "6"},
                                               {"policy", "export", "5"},
                                               {"policy", "remove", "5"}}) {
        EXPECT_EQ(Failure(arguments), "znpolicy: " + store_ +
                                          ": there is no policy store here; publish a policy "
                                          "first, or name another directory with --store\n");
    }
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(PolicyCommands, AcceptsEveryIntegerAsId) {
    const std::vector<std::string> ids = {"-2147483648", "-5", "0", "5", "2147483647"};
    for (const std::string& id : ids) {
        Publish(id, "<Policy><Id>" + id + "</Id></Policy>");
    }
    for (const std::string& id : ids) {
        EXPECT_EQ(Output({"policy", "show", id, "Id"}), id + "\n");
        EXPECT_EQ(Json::parse(Output({"session", id, "--json"}))["id"], std::stoi(id));
    }
    for (const std::string& id : ids) {
        EXPECT_EQ(Output({"policy", "remove", id}), "policy " + id + ": removed\n");
    }
}

TEST_F(PolicyCommands, RemovesPolicy) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(Output({"policy", "remove", "5"}), "policy 5: removed\n");
    EXPECT_EQ(Failure({"policy", "remove", "5"}),
              "znpolicy: no policy for id 5 in " + store_ + "\n");
    EXPECT_EQ(Failure({"policy", "show", "5"}), "znpolicy: no policy for id 5 in " + store_ + "\n");
}

// Text that would rearrange the line it is shown in.
TEST_F(PolicyCommands, RemovesSeveralPoliciesAndReportsMissingOnes) {
    for (const std::string id : {"5", "-6", "7"}) {
        Publish(id, "<Policy/>");
    }
    const ProcessResult result = Run({"policy", "remove", "5", "1", "-6", "5"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out, "policy 5: removed\npolicy -6: removed\n");
    EXPECT_EQ(result.err, "znpolicy: no policy for id 1 in " + store_ +
                              "\n"
                              "znpolicy: no policy for id 5 in " +
                              store_ + "\n");
    EXPECT_EQ(Output({"policy", "show", "7"}), "ITEM  VALUE\n");
}

// Nothing is removed if an argument is a mistake.
TEST_F(PolicyCommands, RemovesNothingAfterWrongUsage) {
    Publish("5", "<Policy/>");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"policy", "remove", "5", "x"},
                                               {"policy", "remove", "5", "06"},
                                               {"policy", "remove"}}) {
        EXPECT_EQ(Run(arguments).exitCode, kWrongUsage) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(Output({"policy", "remove", "5"}), "policy 5: removed\n");
}

TEST_F(PolicyCommands, RemovesDamagedPolicy) {
    WriteFile(store_ + "/5.cdb", "damaged");
    EXPECT_EQ(Output({"policy", "remove", "5"}), "policy 5: removed\n");
}

TEST_F(PolicyCommands, RejectsMalformedExample) {
    EXPECT_THAT(Failure({"policy", "publish", "1001", EXAMPLES "/policy-malformed.xml"}),
                HasSubstr("policy-malformed.xml:6:"));
}

}  // namespace
