#include "PolicyDiff.h"

#include "PolicyItems.h"

std::vector<PolicyChange> ComparePolicies(const std::vector<PolicyStore::Item>& before,
                                          const std::vector<PolicyStore::Item>& after) {
    const PolicyItems oldItems(before);
    const PolicyItems newItems(after);
    std::vector<PolicyChange> changes;
    for (const PolicyStore::Item& item : before) {
        const PolicyStore::Item* const now = newItems.Find(item.key);
        if (now == nullptr) {
            changes.push_back({item.key, item.value, std::nullopt});
        } else if (now->value != item.value) {
            changes.push_back({item.key, item.value, now->value});
        }
    }
    for (const PolicyStore::Item& item : after) {
        if (!oldItems.Has(item.key)) {
            changes.push_back({item.key, std::nullopt, item.value});
        }
    }
    return changes;
}
