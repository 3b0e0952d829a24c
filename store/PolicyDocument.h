// Policy documents: XML text to items.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "PolicyStore.h"

// The items of the policy document `xml`, in the order of the document. Throws PolicyStore::Error,
// with a message that begins with `name`, line and column, when the document is refused.
std::vector<PolicyStore::Item> ParsePolicyDocument(std::string_view xml, const std::string& name);
