// Output of explanations.
#pragma once

#include "Explanation.h"
#include "Json.h"

Json ExplanationToJson(int id, const Explanation& explanation);

void PrintExplanation(const Explanation& explanation);
