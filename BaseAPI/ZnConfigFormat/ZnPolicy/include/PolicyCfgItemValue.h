// The four bandwidth items of one redirection module.
#pragma once

#include <cstdint>

// Plain record. A flag is non-zero when the value after it is in force, else 0.
struct PolicyCfgItemValue {
    int32_t bandwidthSpecified;
    int32_t bandwidth;  // kilobits per second
    int32_t bandwidthPercentSpecified;
    int32_t
        bandwidthPercent;  // share of the total bandwidth in percent; values above 100 are ignored
};

static_assert(sizeof(PolicyCfgItemValue) == 16, "four 32-bit integers, no padding");
