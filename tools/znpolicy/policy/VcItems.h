// Virtual-channel items as the commands show them.
#pragma once

#include <string>
#include <vector>

#include "Json.h"
#include "Table.h"
#include "VekVcItems.h"

Json VcItemsToJson(const std::vector<VekVcItems>& items);

void PrintVcItems(const std::vector<VekVcItems>& items);

// Which item and field of a plugin list is wrong, and why; for a list that the library refuses.
std::string DescribeVcProblem(const std::string& list);
