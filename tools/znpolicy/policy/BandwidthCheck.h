// Mistakes in the bandwidth items of a policy.
#pragma once

#include "PolicyItems.h"
#include "PolicyReport.h"

void CheckBandwidth(const PolicyItems& policy, PolicyReport& report);
