// Policy for closing the displayer automatically.
#pragma once

#include "ZnExport.h"

// Reads when the displayer closes by itself.
class ZN_API ZnAutoCloseDisplayerVek {
   public:
    // Returns the number of seconds after which the displayer of `terminalId` closes automatically,
    // exactly as in the policy, so the caller must handle zero and negative numbers. Returns 0 when
    // the policy or one of its items "PolicyName", "AutoCloseDisplayerFlag" and
    // "AutoCloseDisplayerSecond" is missing, or the flag is 0. Logs progress and missing items at
    // level 3, a missing policy at level 1. Thread-safe.
    static int ReadVekAutoCloseDisplayer(int terminalId);
};
