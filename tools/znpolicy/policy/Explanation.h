// Why a session gets its settings: what the library's readers return for a policy, and from which
// items.
#pragma once

#include <string>
#include <vector>

#include "BandwidthExplanation.h"
#include "Json.h"
#include "PolicyItems.h"
#include "PolicyStore.h"

struct ExplainedSetting {
    std::string name;
    Json value;  // what the reader returns
    std::vector<ItemText> items;
    std::string reason;  // why the value is neutral, or ""
};

struct Explanation {
    std::vector<ExplainedSetting> settings;
    std::vector<ExplainedModule> modules;  // all of them, sorted by name
};

// Predicts what the readers return, from the items alone.
Explanation ExplainPolicy(const std::vector<PolicyStore::Item>& items);
