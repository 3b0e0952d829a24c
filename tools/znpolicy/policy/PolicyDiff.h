// What publishing a document would change.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "PolicyStore.h"

// An item that is added (no old value), removed (no new value) or changed.
struct PolicyChange {
    std::string item;
    std::optional<std::string> oldValue;
    std::optional<std::string> newValue;
};

// Returns removed and changed items in the order of `before`, then added ones in the order of
// `after`. The order of items is no change: readers look items up by name.
std::vector<PolicyChange> ComparePolicies(const std::vector<PolicyStore::Item>& before,
                                          const std::vector<PolicyStore::Item>& after);
