#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "ChildProcess.h"
#include "PolicyStore.h"
#include "UpdateDescription.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

const std::string kDescription =
    R"({"packageInfo": [{"packageName": "P.zip", "platform": "Model-A", "sha256Hash": "f"}]})";

std::string Base64(const std::string& text) {
    const TemporaryDirectory directory;
    WriteFile(directory / "text", text);
    return OutputOf("base64 <" + directory / "text");
}

class UpdateDescription : public testing::Test {
   protected:
    UpdateDescription() {
        std::filesystem::create_directories(directory_ / "microservices/Package");
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
        setenv("ZN_POLICY_STORE", directory_.Path().c_str(), 1);
    }
    ~UpdateDescription() override {
        unsetenv("ZN_PROCESS_DIRECTORY");
        unsetenv("ZN_POLICY_STORE");
    }

    static void Publish(const std::string& items) {
        PolicyStore().Publish(7, "<Policy>" + items + "</Policy>", "document");
    }

    static void PublishDescription(const std::string& text) {
        Publish(
            "<PolicyName/><VirtualChannelEnable>1</VirtualChannelEnable>"
            "<VirtualChannelPluginDetails>" +
            text + "</VirtualChannelPluginDetails>");
    }

    const TemporaryDirectory directory_;
};

TEST_F(UpdateDescription, ParsesJsonAndBase64) {
    for (const std::string& text : {kDescription, Base64(kDescription)}) {
        const auto records = ParseUpdate(text, "U");
        ASSERT_EQ(records.size(), 1U);
        EXPECT_STREQ(records[0].packageName, "P.zip");
    }
}

TEST_F(UpdateDescription, ReportsTextWithoutRecords) {
    for (const std::string text : {"", "{}", "no JSON", "{\"packageInfo\": []}"}) {
        EXPECT_THAT([&] { ParseUpdate(text, "U"); },
                    ThrowsMessage<std::runtime_error>(HasSubstr("U: no package records")));
    }
}

TEST_F(UpdateDescription, PeeksAtThePolicy) {
    for (const std::string& text : {kDescription, Base64(kDescription)}) {
        PublishDescription(text);
        EXPECT_EQ(PeekUpdate(7).size(), 1U);
    }
}

TEST_F(UpdateDescription, ReportsWhyThePolicyGivesNone) {
    const auto throws = [](const std::string& text) {
        return ThrowsMessage<std::runtime_error>(HasSubstr(text));
    };
    const auto peek = [] { PeekUpdate(7); };
    EXPECT_THAT(peek, throws("no policy for id 7"));
    Publish("<VirtualChannelEnable>1</VirtualChannelEnable>");
    EXPECT_THAT(peek, throws("has no item \"PolicyName\""));
    Publish("<PolicyName/><VirtualChannelEnable>0</VirtualChannelEnable>");
    EXPECT_THAT(peek, throws("does not enable virtual channels"));
    PublishDescription("");
    EXPECT_THAT(peek, throws("has no update description"));
    PublishDescription("{\"platform\": 1, \"sha256Hash\": 2}");
    EXPECT_THAT(peek, throws("has no update description"));  // not Base64, either
    PublishDescription(Base64("{\"platform\": 1, \"sha256Hash\": 2}"));
    EXPECT_THAT(peek, throws("does not mention \"packageName\""));
    std::filesystem::remove(directory_ / "microservices/Package");
    EXPECT_THAT(peek, throws("there is no directory " + directory_ / "microservices/Package"));
}

}  // namespace
