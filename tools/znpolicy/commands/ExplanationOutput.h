// Output of explanations.
#pragma once

#include "Explanation.h"

void PrintExplanation(int id, const Explanation& explanation, bool json);
