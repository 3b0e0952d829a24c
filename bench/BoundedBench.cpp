// The bounded functions, memset of the C library and strlcpy of libbsd.
#include <bsd/string.h>

#include <cstring>

#include "BoundedCases.h"
#include "bounded.h"

namespace {

const int kRegistered[] = {
    RegisterFills(
        "memset_s/ours",
        [](char* dest, size_t size) { benchmark::DoNotOptimize(memset_s(dest, size, 0, size)); }),
    RegisterFills("memset_sOptAsm/ours",
                  [](char* dest, size_t size) {
                      benchmark::DoNotOptimize(memset_sOptAsm(dest, size, 0, size));
                  }),
    RegisterFills("memset_sOptTc/ours",
                  [](char* dest, size_t size) {
                      benchmark::DoNotOptimize(memset_sOptTc(dest, size, 0, size));
                  }),
    RegisterFills(
        "memset/libc",
        [](char* dest, size_t size) { benchmark::DoNotOptimize(std::memset(dest, 0, size)); }),
    RegisterCopies("strcpy_s/ours",
                   [](char* dest, size_t size, const char* src) {
                       benchmark::DoNotOptimize(strcpy_s(dest, size, src));
                   }),
    RegisterCopies("strlcpy/libbsd",
                   [](char* dest, size_t size, const char* src) {
                       benchmark::DoNotOptimize(strlcpy(dest, src, size));
                   }),
};

}  // namespace
