// The cases in which fills and copies are measured: sizes, aligned and not.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <string>

constexpr size_t kSizes[] = {1, 4, 8, 16, 31, 32, 33, 64, 128, 256, 1024, 4096};
constexpr size_t kLargest = 4096;

// "short/16/aligned" and so on; a size is long when it is above 32 bytes.
inline std::string CaseName(size_t size, bool aligned) {
    return (size > 32 ? "long/" : "short/") + std::to_string(size) +
           (aligned ? "/aligned" : "/unaligned");
}

// Registers `fill(dest, size)` in every case under `name`.
template <class Fill>
int RegisterFills(const std::string& name, Fill fill) {
    for (const size_t size : kSizes) {
        for (const bool aligned : {true, false}) {
            const auto run = [fill, size, aligned](benchmark::State& state) {
                alignas(64) static char buffer[kLargest + 64];
                char* dest = buffer + (aligned ? 0 : 1);
                size_t count = size;
                benchmark::DoNotOptimize(count);
                benchmark::DoNotOptimize(dest);
                for (auto _ : state) {
                    fill(dest, count);
                    benchmark::ClobberMemory();
                }
            };
            benchmark::RegisterBenchmark((name + "/" + CaseName(size, aligned)).c_str(), run);
        }
    }
    return 0;
}

// Registers `copy(dest, size, src)` in every case under `name`. `src` is a string that takes up
// `size` bytes with its terminator, exactly the size of `dest`.
template <class Copy>
int RegisterCopies(const std::string& name, Copy copy) {
    for (const size_t size : kSizes) {
        for (const bool aligned : {true, false}) {
            const auto run = [copy, size, aligned](benchmark::State& state) {
                alignas(64) static char from[kLargest + 64];
                alignas(64) static char to[kLargest + 64];
                char* src = from + (aligned ? 0 : 3);
                char* dest = to + (aligned ? 0 : 1);
                size_t count = size;
                std::memset(src, 'x', count - 1);
                src[count - 1] = '\0';
                benchmark::DoNotOptimize(count);
                benchmark::DoNotOptimize(dest);
                benchmark::DoNotOptimize(src);
                for (auto _ : state) {
                    copy(dest, count, src);
                    benchmark::ClobberMemory();
                }
            };
            benchmark::RegisterBenchmark((name + "/" + CaseName(size, aligned)).c_str(), run);
        }
    }
    return 0;
}
