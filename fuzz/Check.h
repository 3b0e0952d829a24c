// Checks of invariants in fuzz targets.
#pragma once

#include <cstdio>
#include <cstdlib>

// Aborts unless `condition` holds; libFuzzer then saves the input.
#define CHECK(condition)                                                                        \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;
