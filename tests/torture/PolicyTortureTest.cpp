// Readers see whole policies while publishers are killed at random moments.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "PolicyStore.h"
#include "TemporaryDirectory.h"
#include "Torture.h"
#include "ZnXml.h"

namespace {

constexpr int kIds = 4;
constexpr int kItems = 40;

// All items of a version have the same value. The last id has policies too large to be read as a
// whole, which are read item by item.
std::string Document(int id, uint64_t version) {
    const size_t padding = id == kIds - 1 ? 4000 : version % 200;
    const std::string value = std::to_string(version) + std::string(padding, 'x');
    std::string document = "<Policy>";
    for (int i = 0; i < kItems; ++i) {
        const std::string name = "Item" + std::to_string(i);
        document += "<" + name + ">" + value + "</" + name + ">";
    }
    return document + "</Policy>";
}

// Whether all items of the loaded policy have one version.
bool IsWhole(ZnXml& xml) {
    std::string first;
    std::string other;
    if (!xml.GetXmlContent("Item0", first)) {
        return false;
    }
    for (int i = 1; i < kItems; ++i) {
        if (!xml.GetXmlContent(("Item" + std::to_string(i)).c_str(), other) || other != first) {
            return false;
        }
    }
    return true;
}

size_t TemporaryFilesIn(const std::string& directory) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        count += entry.path().filename().string().rfind(".zn-", 0) == 0 ? 1 : 0;
    }
    return count;
}

}  // namespace

TEST(PolicyTorture, ReadersSeeWholePoliciesWhilePublishersAreKilled) {
    const TemporaryDirectory directory;
    setenv("ZN_POLICY_STORE", directory.Path().c_str(), 1);
    const PolicyStore store(directory.Path());
    for (int id = 0; id < kIds; ++id) {
        store.Publish(id, Document(id, 0), "first");
    }
    const SharedCounters counters;
    const uint64_t kills = KillWritersAtRandom(
        counters,
        [&](std::mt19937_64& random) {
            const int id = static_cast<int>(Below(random, kIds));
            store.Publish(id, Document(id, random()), "torture");
        },
        [&] {
            const int id = static_cast<int>(counters->reads % kIds);
            ZnXml xml;
            if (!xml.LoadPolicyShareMemory(id)) {
                ++counters->missing;
            } else if (!IsWhole(xml)) {
                ++counters->torn;
            }
        });
    PrintSummary(counters, kills);
    EXPECT_EQ(counters->torn, 0U);
    EXPECT_EQ(counters->missing, 0U);
    for (int id = 0; id < kIds; ++id) {
        EXPECT_EQ(store.Read(id).size(), static_cast<size_t>(kItems));
    }
    unsetenv("ZN_POLICY_STORE");
}

TEST(PolicyTorture, NextPublicationRemovesWhatKilledPublishersLeft) {
    const TemporaryDirectory directory;
    const PolicyStore store(directory.Path());
    const SharedCounters counters;
    KillWritersAtRandom(
        counters,
        [&](std::mt19937_64& random) { store.Publish(1, Document(kIds - 1, random()), "torture"); },
        [] { sched_yield(); });
    store.Publish(1, Document(0, 1), "last");
    EXPECT_EQ(TemporaryFilesIn(directory.Path()), 0U);
}
