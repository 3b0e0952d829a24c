// Any bytes as a policy document, and as items: a published policy is exported to a document that
// publishes to the same items, and other items are exported exactly or refused.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "Check.h"
#include "PolicyExport.h"
#include "PolicyStore.h"

using Items = std::vector<PolicyStore::Item>;

static bool IsSame(const PolicyStore::Item& left, const PolicyStore::Item& right) {
    return left.key == right.key && left.value == right.value;
}

static void CheckPublishesTo(const Items& items, const std::string& exported) {
    const Items again = PolicyStore::ParseDocument(exported, "exported");
    CHECK(std::equal(items.begin(), items.end(), again.begin(), again.end(), IsSame));
}

static void CheckDocument(const std::string& xml) {
    Items items;
    try {
        items = PolicyStore::ParseDocument(xml, "fuzz");
    } catch (const PolicyStore::Error&) {
        return;
    }
    CheckPublishesTo(items, ExportPolicy(items));  // is not refused
}

// Lines are names and values in turn.
static void CheckItems(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    Items items;
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        items.push_back({lines[i], lines[i + 1]});
    }
    std::string exported;
    try {
        exported = ExportPolicy(items);
    } catch (const std::runtime_error&) {
        return;  // refused
    }
    CheckPublishesTo(items, exported);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckDocument(text);
    CheckItems(text);
    return 0;
}
