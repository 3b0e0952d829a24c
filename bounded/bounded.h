// Bounded memory and string functions: each takes the size of the destination in bytes, never
// writes beyond it, and returns a result code. They neither log nor throw, keep no state and are
// thread-safe.
//
// When a call fails although the destination is usable, the destination is reset, so that a caller
// that ignores the result still finds defined contents: memory is filled over its whole size, a
// string is made empty. With an invalid size nothing is written.
#pragma once

#include <stddef.h>

// Marks what the library exports.
#define BOUNDED_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

enum {
    BOUNDED_OK = 0,                // success
    BOUNDED_EINVAL = 22,           // a required pointer is null; nothing written
    BOUNDED_ERANGE = 34,           // destination size 0 or above BOUNDED_MAX; nothing written
    BOUNDED_EINVAL_RESET = 150,    // source pointer null; destination reset
    BOUNDED_ERANGE_RESET = 162,    // the data does not fit; destination reset
    BOUNDED_EOVERLAP_RESET = 182,  // source and destination overlap; destination reset
};

// The largest accepted destination size in bytes, for memory and strings alike.
#define BOUNDED_MAX ((size_t)0x7FFFFFFF)

// 32 bytes of 0xFF: the source of all-ones words for the tuned fills.
BOUNDED_API extern const unsigned char g_allFF[32];

// Fills the first `count` bytes of `dest`, a buffer of `destMax` bytes, with `c` converted to
// unsigned char. Returns
// - BOUNDED_OK on success,
// - BOUNDED_ERANGE when `destMax` is above BOUNDED_MAX, or is 0 and not (`dest` non-null and
// `count`
//   0),
// - BOUNDED_EINVAL when `dest` is null,
// - BOUNDED_ERANGE_RESET when `count` exceeds `destMax`; all `destMax` bytes are then filled.
BOUNDED_API int memset_s(void* dest, size_t destMax, int c, size_t count);

// memset_s for mostly short fills: up to 32 bytes are stored inline, in words when `dest` is
// aligned to 8 bytes and `c` is 0 or 255. `destMax`, `count` and the results are those of memset_s.
BOUNDED_API int memset_sOptAsm(void* dest, size_t destMax, int c, size_t count);

// memset_sOptAsm without the upper limit of `destMax`: with a non-null `dest` and `count` at most
// `destMax` it succeeds even when `destMax` is above BOUNDED_MAX. Otherwise as memset_s.
BOUNDED_API int memset_sOptTc(void* dest, size_t destMax, int c, size_t count);

// Copies the string `src` with its terminator into `dest`, a buffer of `destMax` bytes. Reads at
// most `destMax` characters of `src`. Returns
// - BOUNDED_OK on success, also when `dest` equals `src` and the string ends within `destMax`,
// - BOUNDED_ERANGE when `destMax` is 0 or above BOUNDED_MAX,
// - BOUNDED_EINVAL when `dest` is null,
// - BOUNDED_EINVAL_RESET when `src` is null,
// - BOUNDED_ERANGE_RESET when the string and its terminator do not fit,
// - BOUNDED_EOVERLAP_RESET when they fit but source and destination overlap.
// After the last three, dest[0] is 0.
BOUNDED_API int strcpy_s(char* dest, size_t destMax, const char* src);

// Classifies the arguments `dest`, `destMax` and `src` of strcpy_s without copying: the same checks
// in the same order, except for overlap, with the same reset of `dest`. Returns BOUNDED_OK and
// writes nothing when the string fits.
BOUNDED_API int strcpy_error(char* dest, size_t destMax, const char* src);

#ifdef __cplusplus
}
#endif
