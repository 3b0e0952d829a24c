#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "DirectionCharacters.h"
#include "Program.h"

namespace {

class PolicyListCommand : public CommandTest {
   protected:
    // Publishes with a known time.
    void PublishAt(const std::string& id, const std::string& xml, time_t time) {
        Publish(id, xml);
        SetTime(id, time);
    }

    void SetTime(const std::string& id, time_t time) {
        const timespec times[] = {{time, 0}, {time, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, (store_ + "/" + id + ".cdb").c_str(), times, 0), 0);
    }
};

TEST_F(PolicyListCommand, ListsNothingInEmptyStore) {
    std::filesystem::create_directory(store_);
    EXPECT_EQ(Output({"policy", "list"}), "");
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"})), Json::array());
}

TEST_F(PolicyListCommand, ShowsPoliciesInOrderOfIds) {
    PublishAt("1001", "<Policy><PolicyName>Call centre</PolicyName><A>1</A></Policy>", 0);
    PublishAt("-2147483648", "<Policy/>", 1769904000);
    EXPECT_EQ(Output({"policy", "list"}),
              "ID           ITEMS  PUBLISHED             STATE  POLICYNAME\n"
              "-2147483648  0      2026-02-01T00:00:00Z  ok\n"
              "1001         2      1970-01-01T00:00:00Z  ok     Call centre\n");
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"})),
              Json::array({{{"id", -2147483647 - 1},
                            {"policyName", nullptr},
                            {"items", 0},
                            {"published", "2026-02-01T00:00:00Z"},
                            {"state", "ok"}},
                           {{"id", 1001},
                            {"policyName", "Call centre"},
                            {"items", 2},
                            {"published", "1970-01-01T00:00:00Z"},
                            {"state", "ok"}}}));
}

TEST_F(PolicyListCommand, ShowsDamagedPolicyAmongOthers) {
    PublishAt("5", "<Policy><PolicyName>x</PolicyName></Policy>", 0);
    WriteFile(store_ + "/4.cdb", "damaged");
    SetTime("4", 1);
    EXPECT_EQ(Output({"policy", "list"}),
              "ID  ITEMS  PUBLISHED             STATE    POLICYNAME\n"
              "4   -      1970-01-01T00:00:01Z  damaged\n"
              "5   1      1970-01-01T00:00:00Z  ok       x\n");
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"}))[0],
              Json({{"id", 4},
                    {"policyName", nullptr},
                    {"items", nullptr},
                    {"published", "1970-01-01T00:00:01Z"},
                    {"state", "damaged"}}));
}

TEST_F(PolicyListCommand, EscapesNames) {
    PublishAt("5", "<Policy><PolicyName>a\n" + RightToLeftOverride() + "b</PolicyName></Policy>",
              0);
    EXPECT_EQ(Output({"policy", "list"}),
              "ID  ITEMS  PUBLISHED             STATE  POLICYNAME\n"
              "5   1      1970-01-01T00:00:00Z  ok     a\\n\\u202eb\n");
}

TEST_F(PolicyListCommand, IgnoresOtherFiles) {
    PublishAt("5", "<Policy/>", 0);
    WriteFile(store_ + "/007.cdb", "");
    WriteFile(store_ + "/notes.txt", "");
    EXPECT_EQ(Json::parse(Output({"policy", "list", "--json"})).size(), 1U);
}

}  // namespace
