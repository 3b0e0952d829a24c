// Intelligent data transport policy.
#pragma once

#include "ZnExport.h"

class ZN_API ZnIdtVek {
   public:
    // The value of the policy item "IntelligentDataTransportFlag" of `sessionId` as it stands,
    // whatever it is, or 0 when policy or item is missing.
    // Logs a missing policy or item at level 1, nothing on success. Safe from any thread.
    static int ReadIdtPolicy(int sessionId);
};
