// The four bandwidth items of one module's policy.
#pragma once

#include <cstdint>

// Plain record. The flags say whether the value that follows is in force (non-zero) or not (0).
struct PolicyCfgItemValue {
    int32_t bandwidthSpecified;
    int32_t bandwidth;  // kilobits per second
    int32_t bandwidthPercentSpecified;
    int32_t bandwidthPercent;  // share of the total bandwidth in whole percent, 1 to 100
};

static_assert(sizeof(PolicyCfgItemValue) == 16, "four 32-bit integers, no padding");
