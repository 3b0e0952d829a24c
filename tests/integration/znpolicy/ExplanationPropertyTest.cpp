// Explanations against the library: what is predicted from the items alone is what the readers
// return for the same policy in a store.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "Explanation.h"
#include "FileDescriptor.h"
#include "ItemReference.h"
#include "Platform.h"
#include "PolicyFile.h"
#include "Random.h"
#include "StoreTest.h"
#include "TemporaryDirectory.h"
#include "ZnAutoCloseDisplayerVek.h"
#include "ZnBandwidthPolicy.h"
#include "ZnIdtVek.h"
#include "ZnVcVek.h"

namespace {

using Items = std::vector<PolicyStore::Item>;

// The thread sanitizer takes long, and there is one thread.
constexpr int kPolicies = kThreadSanitizer ? 2'000 : 100'000;
constexpr int kId = 7;

const std::vector<std::string> kOddNumbers = {
    "",           " ",           "abc",         "0x1E",       "30s",         "60%",
    "1.5",        "1 2",         "+-3",         "-+3",        "--1",         "+",
    "-",          "3000000000",  "-3000000000", "2147483648", "-2147483649", "99999999999999999999",
    "2147483647", "-2147483648", " 5",          "5 ",         "\t12\r\n",    "+7",
    "-7",         "+0",          "-0",          "0000012",    "\v5",         "5\xC2\xA0",
};
const std::vector<std::string> kFlags = {"0", "1", "1", "1", "2", "-1"};
const std::vector<std::string> kPercentages = {"0", "1", "2", "10", "50", "99", "100", "101", "-5"};
const std::vector<std::string> kBandwidths = {
    "0",        "1",        "50",       "99",       "100",      "800",  "1000",     "20000",
    "17179869", "17179870", "21474837", "30000000", "34359739", "-800", "-30000000"};
const std::vector<std::string> kRules = {"{\"DisableLoginHint\": 1}",
                                         "{\"DisableLoginHint\":0}",
                                         "{\"DisableLoginHint\": 2}",
                                         "{\"DisableLoginHint\": \"1\"}",
                                         "{\"DisableLoginHint\": 1.0}",
                                         "{\"DisableLoginHint\": true}",
                                         "{\"DisableLoginHint\": 4294967297}",
                                         "{\"DisableLoginHint\": 1, \"DisableLoginHint\": 0}",
                                         "{\"disableLoginHint\": 1}",
                                         "{\"DisableLoginHint\": 1",
                                         "[1]",
                                         "1",
                                         "{}",
                                         ""};
const std::vector<std::string> kLists = {"A@B@1@2@C@D@E",
                                         "A@{B}@0x1F@ff@C@D@E,F@G@3@4@H@I@J",
                                         ",A@B@1@2@C@D@E",
                                         "{A}@B@1@2@C@D@E",
                                         "A@B@1@2@C@D",
                                         "A@B@1@2@C@D@0123456789012345678901234567890",
                                         "A@B@1@2@C@D@E@8,",
                                         "A@B@1@2@C@D@01234567890123456789012345678901",
                                         "A",
                                         ""};

// Makes random policies. How many items are missing or odd differs between them.
class PolicyMaker {
   public:
    explicit PolicyMaker(Random& random)
        : random_(random), missing_(random.Below(4) * 8), odd_(random.Below(4) * 8) {}

    Items Make() {
        Items items;
        for (const ItemDescription& item : KnownItems()) {
            if (!Happens(missing_)) {
                items.push_back({item.name, item.isInteger ? Number(item) : TextFor(item.name)});
            }
        }
        return items;
    }

   private:
    bool Happens(std::size_t percent) {
        return random_.Below(100) < percent;
    }

    std::string Number(const ItemDescription& item) {
        if (Happens(odd_)) {
            return random_.OneOf(kOddNumbers);
        }
        if (item.unit == "%") {
            return random_.OneOf(kPercentages);
        }
        if (item.unit == "kbit/s") {
            return random_.OneIn(3) ? std::to_string(random_.Below(2'000'000'000))
                                    : random_.OneOf(kBandwidths);
        }
        return random_.OneOf(kFlags);
    }

    std::string TextFor(const std::string& name) {
        if (name == "configArg1Rule") {
            return random_.OneOf(kRules);
        }
        if (name == "VirtualChannelOptionNames") {
            return random_.OneIn(3) ? random_.Text("AB1f@@@@@@{},", 40) : random_.OneOf(kLists);
        }
        return random_.Text("ab <", 5);
    }

    Random& random_;
    std::size_t missing_;
    std::size_t odd_;
};

class ExplanationPropertyTest : public testing::Test {
   protected:
    ExplanationPropertyTest() {
        setenv("ZN_POLICY_STORE", store_.Path().c_str(), 1);
        setenv("ZN_LOG_LEVEL", "off", 1);
    }

    // Stores a policy without syncing it.
    void Store(const Items& items) const {
        const std::string path = store_ / (std::to_string(kId) + std::string(kPolicyFileSuffix));
        // Truncating the old file instead makes some file systems flush the new one.
        unlink(path.c_str());
        const FileDescriptor file =
            FileDescriptor::Open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
        if (!WritePolicyFile(file, items)) {
            throw std::runtime_error("cannot write " + path);
        }
    }

    const TemporaryDirectory store_;
};

// Returns what the readers return, under the names of the explanation.
Json ReadSettings() {
    AutoReconnect reconnect;
    ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect);
    std::string list;
    ZnVcVek::ZnReadVekVcPolicy(kId, list);
    std::vector<VekVcItems> plugins;
    ZnVcVek::ZnParseVekVcItems(list, plugins);
    return {
        {"intelligent data transport flag", ZnIdtVek::ReadIdtPolicy(kId)},
        {"reconnect interval", reconnect.reconnectInterval},
        {"reconnect keep-alive time", reconnect.reconnectKeepliveTime},
        {"disable login hint", ZnVcVek::ZnDisableLoginHintPolicy(kId)},
        {"auto-close displayer seconds", ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId)},
        {"virtual-channel list", list},
        {"virtual-channel plugins", plugins.size()}};
}

Json PredictedSettings(const Explanation& explanation) {
    Json settings;
    for (const ExplainedSetting& setting : explanation.settings) {
        settings[setting.name] = setting.value;
    }
    return settings;
}

bool IsNeutral(const Json& value) {
    const std::vector<Json> neutral = {0, false, ""};
    return std::find(neutral.begin(), neutral.end(), value) != neutral.end();
}

TEST_F(ExplanationPropertyTest, PredictsWhatReadersReturn) {
    Random random;
    std::map<std::string, int> seen;
    for (int i = 0; i < kPolicies && !HasFailure(); ++i) {
        const Items items = PolicyMaker(random).Make();
        const Explanation explanation = ExplainPolicy(items);
        Store(items);

        EXPECT_EQ(PredictedSettings(explanation), ReadSettings()) << testing::PrintToString(items);
        for (const ExplainedSetting& setting : explanation.settings) {
            EXPECT_TRUE(setting.reason.empty() || IsNeutral(setting.value)) << setting.name;
            EXPECT_TRUE(setting.value != false || !setting.reason.empty()) << setting.name;
            ++seen[setting.name + (IsNeutral(setting.value) ? " neutral" : " set")];
        }

        ZnBandwidthPolicy bandwidth;
        bandwidth.ReadBandwidthPolicy(kId);
        for (const ExplainedModule& module : explanation.modules) {
            EXPECT_EQ(module.bytesPerSecond,
                      bandwidth.GetBandwidthBytesPerSec(module.module.c_str()))
                << module.module << " " << testing::PrintToString(items);
            EXPECT_TRUE(module.limit != "none" || !module.reason.empty()) << module.module;
            ++seen["limit " + module.limit];
            seen["wrapped"] += module.bytesPerSecond < 0 ? 1 : 0;
        }
    }
    // Every kind of value was compared.
    for (const char* kind :
         {"intelligent data transport flag set", "reconnect interval set",
          "reconnect keep-alive time set", "disable login hint set", "disable login hint neutral",
          "auto-close displayer seconds set", "virtual-channel list set",
          "virtual-channel plugins set", "virtual-channel plugins neutral", "limit none",
          "limit absolute", "limit share", "limit total", "wrapped"}) {
        EXPECT_GT(seen[kind], kPolicies / 100) << kind;
    }
}

}  // namespace
