// Policies as documents.
#pragma once

#include <string>
#include <vector>

#include "PolicyStore.h"

// Returns a policy document with exactly these items in this order. Line ends in values stay as
// they are, except that carriage returns become character references, as does everything that
// could change how a terminal displays the document. Throws std::runtime_error when there is no
// such document: the items come from a damaged file, or it would be larger than
// PolicyStore::kMaxDocumentSize.
std::string ExportPolicy(const std::vector<PolicyStore::Item>& items);
