#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PackageTest.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class UpdateCommands : public PackageTest {};

const std::string kDescription =
    R"({"packageInfo": [{"packageName": "P.zip", "platform": "Model-A", "version": "1.0",
        "sha256Hash": "0123456789abcdef0123456789abcdef", "size": "8388608"}]})";

TEST_F(UpdateCommands, ConvertListsRecords) {
    WriteFile(directory_ / "plain.json", kDescription);
    const std::string encoded = OutputOf("base64 <" + directory_ / "plain.json");
    for (const std::string& text : {kDescription, encoded}) {
        const std::string table = Output({"update", "convert", "-"}, Input(text));
        EXPECT_THAT(table, AllOf(HasSubstr("P.zip"), HasSubstr("8.0 MiB"),
                                 HasSubstr("0123456789abcdef..."), HasSubstr("Model-A")));
        const Json records = Json::parse(Output({"update", "convert", "--json", "-"}, Input(text)));
        EXPECT_EQ(records.at(0).at("size"), 8388608);
        EXPECT_EQ(records.at(0).at("sha256Hash"), "0123456789abcdef0123456789abcdef");
    }
}

TEST_F(UpdateCommands, ConvertReportsMissingRecords) {
    for (const std::string text : {"", "{}", "no JSON", R"({"packageInfo": []})"}) {
        EXPECT_THAT(Failure({"update", "convert", "-"}, Input(text)),
                    HasSubstr("standard input: no package records"));
    }
    EXPECT_THAT(Failure({"update", "convert", directory_ / "missing"}),
                HasSubstr(directory_ / "missing: No such file or directory"));
}

TEST_F(UpdateCommands, ShowChangesNothing) {
    PublishItems({{"PolicyName", "p"},
                  {"VirtualChannelEnable", "1"},
                  {"VirtualChannelPluginDetails", kDescription}});
    fs::remove_all(process_ + "/microservices");
    const auto before = Snapshot(directory_.Path());
    const auto fixed = Snapshot("/usr/local");
    EXPECT_THAT(Output({"update", "show", "7"}), HasSubstr("P.zip"));
    EXPECT_EQ(Snapshot(directory_.Path()), before);
    EXPECT_EQ(Snapshot("/usr/local"), fixed);
}

TEST_F(UpdateCommands, ShowStoresDescriptionIfAskedTo) {
    PublishItems({{"PolicyName", "p"},
                  {"VirtualChannelEnable", "1"},
                  {"VirtualChannelPluginDetails", kDescription}});
    fs::remove_all(process_ + "/microservices");
    EXPECT_THAT(Output({"update", "show", "7", "--save"}), HasSubstr("P.zip"));
    EXPECT_TRUE(fs::is_directory(process_ + "/microservices/Package/Client"));
    EXPECT_EQ(ReadFile("/usr/local/vornserver/bin/microservices/Package/"
                       "VEK_Microservices_UpdateInfo.json"),
              kDescription);
}

TEST_F(UpdateCommands, ShowReportsWhyThereIsNoDescription) {
    EXPECT_THAT(Failure({"update", "show", "7"}), HasSubstr("there is no policy store here"));
    fs::create_directory(store_);
    EXPECT_THAT(Failure({"update", "show", "7"}), HasSubstr("no policy for id 7"));
    using Items = std::map<std::string, std::string>;
    const struct {
        Items items;
        std::string problem;
    } cases[] = {
        {{{"VirtualChannelEnable", "1"}}, "no item \"PolicyName\""},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "0"}}, "does not enable virtual channels"},
        {{{"PolicyName", "p"}, {"VirtualChannelEnable", "1"}}, "no update description"},
        {{{"PolicyName", "p"},
          {"VirtualChannelEnable", "1"},
          {"VirtualChannelPluginDetails", "bm90IHJlbGV2YW50"}},
         "does not mention \"platform\""},
    };
    for (const auto& c : cases) {
        PublishItems(c.items);
        EXPECT_THAT(Failure({"update", "show", "7"}), HasSubstr(c.problem));
    }
}

TEST_F(UpdateCommands, ShowReportsWhenDescriptionCannotBeStored) {
    fs::remove_all("/usr/local/vornserver");
    PublishItems({{"PolicyName", "p"},
                  {"VirtualChannelEnable", "1"},
                  {"VirtualChannelPluginDetails", kDescription}});
    EXPECT_THAT(Failure({"update", "show", "7", "--save"}), HasSubstr("cannot be stored"));
}

}  // namespace
