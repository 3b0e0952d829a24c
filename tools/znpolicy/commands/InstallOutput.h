// What package plan and package install print.
#pragma once

#include "InstallCheck.h"
#include "InstallRun.h"

void PrintPlan(const CheckedPlan& checked, bool json);

// Prints the result of a run that succeeded.
void PrintRun(const RunReport& report, bool json);

// Prints the result of a run that failed and changed nothing.
void PrintFailure(const RunFailed& failure, bool json);
