// The same functions of libsafec, a general bounds-checking library. In its header, memset_s and
// strcpy_s are macros.
#include <safe_mem_lib.h>
#include <safe_str_lib.h>

#include "BoundedCases.h"

namespace {

const int kRegistered[] = {
    RegisterFills(
        "memset_s/libsafec",
        [](char* dest, size_t size) { benchmark::DoNotOptimize(memset_s(dest, size, 0, size)); }),
    RegisterCopies("strcpy_s/libsafec",
                   [](char* dest, size_t size, const char* src) {
                       benchmark::DoNotOptimize(strcpy_s(dest, size, src));
                   }),
};

}  // namespace
