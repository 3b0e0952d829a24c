// Why redirection modules get their bandwidth allowances.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "PolicyItems.h"

struct ExplainedModule {
    std::string module;
    int bytesPerSecond = 0;       // what the reader returns
    std::optional<int> absolute;  // kbit/s; nothing if it is not in force
    std::optional<int> share;     // kbit/s; nothing if it is not in force
    std::string limit = "none";   // which one wins: "absolute", "share", "total" or "none"
    std::vector<ItemText> items;
    std::string reason;  // why there is no allowance, or why this limit wins; "" if that is obvious
};

// Predicts the allowances of all modules, sorted by name, from the items alone.
std::vector<ExplainedModule> ExplainBandwidth(const PolicyItems& policy);
