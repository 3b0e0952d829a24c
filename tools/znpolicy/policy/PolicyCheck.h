// Mistakes in a policy, which its readers silently turn into neutral values.
#pragma once

#include <string>
#include <vector>

#include "Findings.h"
#include "PolicyStore.h"

// Returns the findings of a policy document in document order. A document that the store refuses
// has one finding, the reason.
std::vector<PolicyFinding> CheckPolicyDocument(const std::string& xml);

// Returns the findings of a published policy in the order of its items, without positions.
std::vector<PolicyFinding> CheckPolicyItems(const std::vector<PolicyStore::Item>& items);
