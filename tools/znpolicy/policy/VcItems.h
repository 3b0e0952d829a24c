// Virtual-channel plugin lists: output and explanation.
#pragma once

#include <string>
#include <vector>

#include "Json.h"
#include "VekVcItems.h"

Json VcItemsToJson(const std::vector<VekVcItems>& items);

void PrintVcItems(const std::vector<VekVcItems>& items);

// Returns which item and field of a plugin list is wrong, and why; "" for a list that the library
// accepts.
std::string DescribeVcProblem(const std::string& list);
