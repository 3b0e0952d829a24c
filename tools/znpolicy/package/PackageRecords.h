// Output of package records.
#pragma once

#include <vector>

#include "Json.h"
#include "ZnPackageInfo.h"

// All fields, named as in the update description; the size as a number.
Json RecordsToJson(const std::vector<ZnPackageInfo>& records);

void PrintRecords(const std::vector<ZnPackageInfo>& records);
