// The invariants that the fuzz targets hold.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process, which libFuzzer reports with the input, unless `condition` is true.
#define CHECK(condition)                                                                        \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;
