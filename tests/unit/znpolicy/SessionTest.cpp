#include <gtest/gtest.h>

#include <cstdlib>

#include "PolicyStore.h"
#include "Session.h"
#include "TemporaryDirectory.h"

namespace {

// A session whose policy has these items.
Session SessionWith(const std::string& items) {
    const TemporaryDirectory store;
    setenv("ZN_POLICY_STORE", store.Path().c_str(), 1);
    PolicyStore().Publish(5, "<Policy>" + items + "</Policy>", "document");
    Session session = ReadSession(5);
    unsetenv("ZN_POLICY_STORE");
    return session;
}

// The four items of a module.
std::string Module(const std::string& name, int bandwidth, int percent) {
    const auto item = [&](const std::string& suffix, int value) {
        return "<" + name + suffix + ">" + std::to_string(value) + "</" + name + suffix + ">";
    };
    return item("BandwidthSpecified", bandwidth == 0 ? 0 : 1) + item("Bandwidth", bandwidth) +
           item("BandwidthPercentSpecified", percent == 0 ? 0 : 1) +
           item("BandwidthPercent", percent);
}

TEST(Session, SaysWhichLimitWins) {
    const struct {
        int bandwidth;
        int percent;
        std::string limit;
        int bytesPerSecond;
    } cases[] = {
        {800, 50, "share", 62500}, {300, 50, "absolute", 37500}, {300, 0, "absolute", 37500},
        {0, 50, "share", 62500},   {500, 50, "absolute", 62500},  // both are the same
    };
    for (const auto& c : cases) {
        const Session session =
            SessionWith(Module("Total", 1000, 0) + Module("Audio", c.bandwidth, c.percent));
        ASSERT_EQ(session.bandwidth.size(), 2U);
        EXPECT_EQ(session.bandwidth[0].module, "Audio");
        EXPECT_EQ(session.bandwidth[0].limit, c.limit) << c.bandwidth << ", " << c.percent;
        EXPECT_EQ(session.bandwidth[0].bytesPerSecond, c.bytesPerSecond);
        EXPECT_EQ(session.bandwidth[1].limit, "total");
    }
}

TEST(Session, ExplainsRefusedPluginList) {
    const std::string head = "<PolicyName/><VirtualChannelEnable>1</VirtualChannelEnable>";
    const auto list = [](const std::string& text) {
        return "<VirtualChannelOptionNames>" + text + "</VirtualChannelOptionNames>";
    };
    EXPECT_EQ(SessionWith(head + list("A@B@1@2@C@D@E")).vcItems.size(), 1U);
    EXPECT_EQ(SessionWith(head + list("A@B@1@2@C@D@E")).vcProblem, "");
    EXPECT_NE(SessionWith(head + list("A@B")).vcProblem, "");
    EXPECT_EQ(SessionWith(head).vcProblem, "");
}

}  // namespace
