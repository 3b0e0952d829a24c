#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "IsolatedCheck.h"
#include "PolicyAccess.h"
#include "TemporaryDirectory.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

class PolicyAccessTest : public testing::Test {
   protected:
    PolicyAccessTest() {
        setenv("ZN_POLICY_STORE", store_.c_str(), 1);
    }
    ~PolicyAccessTest() override {
        unsetenv("ZN_POLICY_STORE");
    }

    const TemporaryDirectory directory_;
    const std::string store_ = directory_ / "store";
};

TEST_F(PolicyAccessTest, ReportsMissingStore) {
    EXPECT_THAT([] { OpenPolicyStore(); }, ThrowsMessage<std::runtime_error>(
                                               HasSubstr(store_ + ": there is no policy store")));
    std::filesystem::create_directory(store_);
    EXPECT_EQ(OpenPolicyStore().Directory(), store_);
}

TEST_F(PolicyAccessTest, ReportsStoreThatCannotBeReached) {
    std::filesystem::create_directory(store_);
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory_.Path());
        std::filesystem::permissions(directory_.Path(), std::filesystem::perms::none);
        std::string message;
        try {
            OpenPolicyStore();
        } catch (const std::runtime_error& error) {
            message = error.what();
        }
        std::filesystem::permissions(directory_.Path(), std::filesystem::perms::owner_all);
        return message == store_ + ": Permission denied";
    }));
}

TEST_F(PolicyAccessTest, LoadsPolicy) {
    PolicyStore().Publish(5, "<Policy><A>1</A></Policy>", "document");
    ZnXml xml;
    LoadPolicy(xml, 5);
    int value = 0;
    EXPECT_TRUE(xml.GetXmlContent("A", value));
    EXPECT_EQ(value, 1);
}

TEST_F(PolicyAccessTest, ReportsWhyAPolicyCannotBeLoaded) {
    const auto load = [] {
        ZnXml xml;
        LoadPolicy(xml, 5);
    };
    EXPECT_THAT(load, ThrowsMessage<std::runtime_error>(HasSubstr("there is no policy store")));
    std::filesystem::create_directory(store_);
    EXPECT_THAT(load, ThrowsMessage<std::runtime_error>("no policy for id 5 in " + store_));
    WriteFile(store_ + "/5.cdb", "damaged");
    EXPECT_THAT(load, ThrowsMessage<std::runtime_error>(HasSubstr("not a policy file")));
}

}  // namespace
