// Results of operations that report an outcome.
#pragma once

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;
