// Published policies at a glance.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

#include "PolicyStore.h"

struct PolicySummary {
    const char* state = "ok";               // or "damaged", or "unreadable" without permission
    std::optional<std::time_t> published;   // when the file was written
    std::optional<std::size_t> itemCount;   // if the state is "ok"
    std::optional<std::string> policyName;  // the item PolicyName
};

// Whether this user lacks the permission to read the policy file of `id`.
bool IsUnreadable(const PolicyStore& store, int id);

// Returns nothing when there is no policy file of `id`.
std::optional<PolicySummary> SummarizePolicy(const PolicyStore& store, int id);
