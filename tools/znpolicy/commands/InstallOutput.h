// What package plan and package install print.
#pragma once

#include <string>
#include <vector>

#include "InstallCheck.h"
#include "InstallRun.h"

// `recovers` says whether an installation would first recover an interrupted run.
void PrintPlan(const CheckedPlan& checked, bool recovers, bool json);

// Prints the result of a run that succeeded.
void PrintRun(const RunReport& report, bool json);

// Prints the result of a run that failed and changed nothing.
void PrintFailure(const RunReport& report, const std::vector<std::string>& reasons, bool json);
