// The four bandwidth items of one redirection module.
#pragma once

#include <cstdint>

// Plain record. A flag is non-zero when the value after it is in force, else 0.
struct PolicyCfgItemValue {
    int32_t bandwidthSpecified;         // flag of `bandwidth`
    int32_t bandwidth;                  // kilobits per second
    int32_t bandwidthPercentSpecified;  // flag of `bandwidthPercent`
    int32_t bandwidthPercent;           // percent of the total; values above 100 are ignored
};

static_assert(sizeof(PolicyCfgItemValue) == 16, "four 32-bit integers, no padding");
