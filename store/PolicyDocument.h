// Parsing policy documents.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "PolicyStore.h"

// Returns the items of the policy document `xml` in document order. Throws PolicyStore::Error with
// the message "NAME:LINE:COLUMN: REASON" when the document is refused.
std::vector<PolicyStore::Item> ParsePolicyDocument(std::string_view xml, const std::string& name);
