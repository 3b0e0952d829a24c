// Bounded memory and string functions: each takes the size of the destination, never writes beyond
// it, and returns a result code. They neither log nor throw, keep no state, and are safe from any
// thread.
//
// After a failure that could write, the destination is reset, so that a caller that ignores the
// result still sees a defined buffer: memory is filled over its whole size, a string is made empty.
// When the size itself is invalid, nothing is written.
#pragma once

#include <stddef.h>

#define BOUNDED_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

enum {
    BOUNDED_OK = 0,                // done
    BOUNDED_EINVAL = 22,           // a required pointer is null; nothing written
    BOUNDED_ERANGE = 34,           // destination size 0 or above BOUNDED_MAX; nothing written
    BOUNDED_EINVAL_RESET = 150,    // source pointer null; destination reset
    BOUNDED_ERANGE_RESET = 162,    // the data does not fit; destination reset
    BOUNDED_EOVERLAP_RESET = 182,  // source and destination overlap; destination reset
};

// The largest accepted destination size in bytes, for memory and strings alike.
#define BOUNDED_MAX ((size_t)0x7FFFFFFF)

// 32 bytes of 0xFF: the all-ones words of the tuned fills.
BOUNDED_API extern const unsigned char g_allFF[32];

// Fills the first `count` bytes of `dest`, which is `destMax` bytes large, with `c` converted to
// unsigned char.
// Returns BOUNDED_OK; BOUNDED_ERANGE for a `destMax` that is 0 (unless `count` is 0 as well and
// `dest` is not null) or above BOUNDED_MAX; BOUNDED_EINVAL for a null `dest`; BOUNDED_ERANGE_RESET
// when `count` exceeds `destMax`: all `destMax` bytes are then filled with `c`.
BOUNDED_API int memset_s(void* dest, size_t destMax, int c, size_t count);

// memset_s for callers whose fills are mostly short: up to 32 bytes are stored inline, in words
// when `dest` is aligned to 8 bytes and the value is 0 or 255. Same results as memset_s.
BOUNDED_API int memset_sOptAsm(void* dest, size_t destMax, int c, size_t count);

// memset_sOptAsm for callers that vouch for `destMax`: a fill whose `count` is at most `destMax`
// succeeds even when `destMax` is above BOUNDED_MAX. Otherwise the same results as memset_s.
BOUNDED_API int memset_sOptTc(void* dest, size_t destMax, int c, size_t count);

// Copies the string `src`, terminator included, into `dest`, which is `destMax` bytes large. No
// more than `destMax` characters of `src` are read. Returns BOUNDED_OK, also when `dest` is `src`
// and the string ends within `destMax`; BOUNDED_ERANGE for an invalid `destMax`; BOUNDED_EINVAL for
// a null `dest`; BOUNDED_EINVAL_RESET for a null `src`; BOUNDED_ERANGE_RESET when string and
// terminator do not fit; BOUNDED_EOVERLAP_RESET when they fit but the two ranges overlap. In the
// last three cases dest[0] is 0.
BOUNDED_API int strcpy_s(char* dest, size_t destMax, const char* src);

// What is wrong with these arguments of strcpy_s: the same checks in the same order, except for
// overlap. Returns BOUNDED_OK and writes nothing when the string fits; otherwise resets `dest` as
// strcpy_s does.
BOUNDED_API int strcpy_error(char* dest, size_t destMax, const char* src);

#ifdef __cplusplus
}
#endif
