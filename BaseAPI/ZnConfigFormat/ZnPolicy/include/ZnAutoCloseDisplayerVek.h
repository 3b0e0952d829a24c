// Policy on the displayer closing by itself.
#pragma once

#include "ZnExport.h"

class ZN_API ZnAutoCloseDisplayerVek {
   public:
    // After how many seconds the displayer of `terminalId` closes by itself, or 0 when it does not:
    // the policy or one of its items "PolicyName", "AutoCloseDisplayerFlag" and
    // "AutoCloseDisplayerSecond" is missing, or the flag is 0. The seconds are passed on as read; a
    // zero or negative number is the caller's to interpret.
    // Logs its course at level 3 and a missing policy at level 1. Safe from any thread.
    static int ReadVekAutoCloseDisplayer(int terminalId);
};
