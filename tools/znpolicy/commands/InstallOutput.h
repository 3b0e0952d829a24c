// What package plan and package install print.
#pragma once

#include <cstddef>

#include "InstallPlan.h"

void PrintPlan(const InstallPlan& plan, bool json);

// Prints what became of the packages of `plan` after the installation. Returns the number of
// packages that failed.
size_t PrintOutcome(const InstallPlan& plan, bool json);
