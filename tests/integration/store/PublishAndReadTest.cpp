// Publishers and readers of one store at the same time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "StoreTest.h"
#include "ZnXml.h"

namespace {

using testing::ElementsAre;
using Item = PolicyStore::Item;
using PublishAndReadTest = StoreTest;

// A policy whose 50 items all have the same value.
std::string UniformPolicy(const std::string& value) {
    std::string document = "<Policy>";
    for (int i = 0; i < 50; ++i) {
        const std::string name = "Item" + std::to_string(i);
        document.append("<").append(name).append(">").append(value);
        document.append("</").append(name).append(">");
    }
    return document + "</Policy>";
}

TEST_F(PublishAndReadTest, ReadersSeeTheOldPolicyOrTheNewOneAndNeverAMixture) {
    Publish(1, UniformPolicy("0"));
    std::atomic<bool> done{false};
    std::atomic<int> failures{0};
    std::atomic<int> mixtures{0};
    const auto read = [&] {
        while (!done) {
            ZnXml xml;
            int first = -1;
            int last = -1;
            if (!xml.LoadPolicyShareMemory(1) || !xml.GetXmlContent("Item0", first) ||
                !xml.GetXmlContent("Item49", last)) {
                ++failures;
            }
            mixtures += first == last ? 0 : 1;
        }
    };
    std::thread reader1(read);
    std::thread reader2(read);
    for (int i = 1; i <= 50; ++i) {
        Publish(1, UniformPolicy(std::to_string(i)));
    }
    done = true;
    reader1.join();
    reader2.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(mixtures, 0);
}

TEST_F(PublishAndReadTest, TwoPublishersLeaveOnePolicyWholeAndNoTemporary) {
    const auto publish = [this](const std::string& value) {
        for (int i = 0; i < 20; ++i) {
            Publish(1, UniformPolicy(value));
        }
    };
    std::thread publisher1(publish, "a");
    std::thread publisher2(publish, "b");
    publisher1.join();
    publisher2.join();
    const std::vector<Item> items = store_.Read(1);
    ASSERT_EQ(items.size(), 50U);
    for (const Item& item : items) {
        EXPECT_EQ(item.value, items[0].value);
    }
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

}  // namespace
