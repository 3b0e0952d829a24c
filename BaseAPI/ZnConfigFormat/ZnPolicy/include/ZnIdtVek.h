// Intelligent data transport policy.
#pragma once

#include "ZnExport.h"

// Reads whether intelligent data transport is used.
class ZN_API ZnIdtVek {
   public:
    // Returns the policy item "IntelligentDataTransportFlag" of `sessionId`, exactly as in the
    // policy, or 0 when the policy or the item is missing. Logs a missing policy or item at level
    // 1, nothing on success. Thread-safe.
    static int ReadIdtPolicy(int sessionId);
};
