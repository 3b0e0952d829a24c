// What operations that report an outcome return.
#pragma once

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;
