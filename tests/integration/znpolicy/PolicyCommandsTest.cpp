#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "IsolatedCheck.h"
#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PolicyCommands : public CommandTest {};

TEST_F(PolicyCommands, PublishesListsAndShows) {
    WriteFile(directory_ / "policy.xml",
              "<Policy><Short>1</Short><MuchLongerName>two words</MuchLongerName></Policy>");
    EXPECT_EQ(Output({"policy", "publish", "--quiet", "1001", directory_ / "policy.xml"}),
              "policy 1001: 2 items published in " + store_ + "\n");
    EXPECT_EQ(Output({"policy", "list"}), "1001\n");
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
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"policy", "list"}, {"policy", "show", "5"}, {"policy", "remove", "5"}}) {
        EXPECT_EQ(Failure(arguments), "znpolicy: " + store_ +
                                          ": there is no policy store here; publish a policy "
                                          "first, or name another directory with --store\n");
    }
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(PolicyCommands, ListsNothingInEmptyStore) {
    std::filesystem::create_directory(store_);
    EXPECT_EQ(Output({"policy", "list"}), "");
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"})), Json::array());
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
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"})),
              Json({-2147483647 - 1, -5, 0, 5, 2147483647}));
    for (const std::string& id : ids) {
        Output({"policy", "remove", id});
    }
    EXPECT_EQ(Output({"policy", "list"}), "");
}

TEST_F(PolicyCommands, RemovesPolicy) {
    Publish("5", "<Policy/>");
    EXPECT_EQ(Output({"policy", "remove", "5"}), "policy 5: removed\n");
    EXPECT_EQ(Failure({"policy", "remove", "5"}),
              "znpolicy: no policy for id 5 in " + store_ + "\n");
    EXPECT_EQ(Failure({"policy", "show", "5"}), "znpolicy: no policy for id 5 in " + store_ + "\n");
}

TEST_F(PolicyCommands, ReportsMissingItem) {
    Publish("5", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(Failure({"policy", "show", "5", "B"}), "znpolicy: policy 5 has no item \"B\"\n");
}

TEST_F(PolicyCommands, ReportsDamagedPolicy) {
    WriteFile(store_ + "/5.cdb", "damaged");
    EXPECT_EQ(Failure({"policy", "show", "5"}),
              "znpolicy: not a policy file, or a damaged one: " + store_ + "/5.cdb\n");
}

TEST_F(PolicyCommands, ShowsItemRawTableEscapedAndJsonExact) {
    const std::string value = " two\nlines\t\xC3\xA4 \\ \"\xC2\x85 ";
    Publish("5", "<Policy><Group><A>" + value + "</A></Group></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5", "Group/A"}), value + "\n");
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM     VALUE\n"
              "Group/A   two\\nlines\\t\xC3\xA4 \\ \"\\u0085\n");
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "--json"})), Json({{"Group/A", value}}));
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "Group/A", "--json"})), Json(value));
}

TEST_F(PolicyCommands, ShowsItemsInPublishedOrder) {
    Publish("5", "<Policy><Z>1</Z><A>2</A><M>3</M></Policy>");
    std::vector<std::string> keys;
    const Json shown = Json::parse(Output({"policy", "show", "5", "--json"}));
    for (const auto& item : shown.items()) {
        keys.push_back(item.key());
    }
    EXPECT_THAT(keys, ElementsAre("Z", "A", "M"));
}

// Text that would rearrange the line it is shown in.
TEST_F(PolicyCommands, EscapesDirectionOverridesAndLineSeparators) {
    const std::string value = "a" + RightToLeftOverride() + "b" + LineSeparator() + "c";
    Publish("5", "<Policy><A>" + value + "</A></Policy>");
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM  VALUE\n"
              "A     a\\u202eb\\u2028c\n");
    const std::string json = Output({"policy", "show", "5", "--json"});
    EXPECT_THAT(json, HasSubstr("\"a\\u202eb\\u2028c\""));
    EXPECT_EQ(Json::parse(json), Json({{"A", value}}));
}

TEST_F(PolicyCommands, EscapesInvalidText) {
    Publish("5", "<Policy><A>XX</A></Policy>");
    std::string damaged = ReadFile(store_ + "/5.cdb");
    damaged.replace(damaged.find("XX"), 2, "\x1B\xFF");
    WriteFile(store_ + "/5.cdb", damaged);
    EXPECT_EQ(Output({"policy", "show", "5"}),
              "ITEM  VALUE\n"
              "A     \\x1b\\xff\n");
    EXPECT_EQ(Json::parse(Output({"policy", "show", "5", "--json"})),
              Json({{"A", "\x1B\xEF\xBF\xBD"}}));
}

TEST_F(PolicyCommands, RejectsMalformedExample) {
    EXPECT_THAT(Failure({"policy", "publish", "1001", EXAMPLES "/policy-malformed.xml"}),
                HasSubstr("policy-malformed.xml:6:"));
}

TEST_F(PolicyCommands, EmptyItemNameIsNoItem) {
    Publish("5", "<Policy><PolicyName>p</PolicyName></Policy>");
    EXPECT_EQ(Failure({"policy", "show", "5", ""}), "znpolicy: policy 5 has no item \"\"\n");
}

}  // namespace
