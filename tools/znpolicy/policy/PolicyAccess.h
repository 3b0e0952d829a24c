// Reading published policies, with a reason when that fails.
#pragma once

#include "PolicyStore.h"
#include "ZnXml.h"

// Returns the store of this process. Throws std::runtime_error when its directory does not exist
// or cannot be reached.
PolicyStore OpenPolicyStore();

// Loads the policy of `id`. Throws std::runtime_error, with the reason, when it cannot be loaded.
void LoadPolicy(ZnXml& xml, int id);
