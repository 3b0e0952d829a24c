#include "bounded.h"

#include <cstdint>
#include <cstring>

// clang-format off
const unsigned char g_allFF[32] = {
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
};
// clang-format on

namespace {

// Fills and copies of up to this many bytes are done inline, without a library call.
constexpr size_t kInlineMax = 32;

const unsigned char g_allZero[sizeof g_allFF] = {};

bool IsAligned(const void* pointer) {
    return reinterpret_cast<uintptr_t>(pointer) % 8 == 0;
}

// Copies `count` bytes in the largest words that fit. With constant sizes each step compiles to one
// load and one store.
inline void CopyWords(unsigned char* dest, const unsigned char* src, size_t count) {
    size_t at = 0;
    for (; count - at >= 8; at += 8) {
        __builtin_memcpy(dest + at, src + at, 8);
    }
    if ((count & 4) != 0) {
        __builtin_memcpy(dest + at, src + at, 4);
        at += 4;
    }
    if ((count & 2) != 0) {
        __builtin_memcpy(dest + at, src + at, 2);
        at += 2;
    }
    if ((count & 1) != 0) {
        dest[at] = src[at];
    }
}

inline void FillShort(unsigned char* dest, unsigned char value, size_t count) {
    if (IsAligned(dest) && (value == 0 || value == 0xFF)) {
        CopyWords(dest, value == 0 ? g_allZero : g_allFF, count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        dest[i] = value;
    }
}

inline int Fill(void* dest, int c, size_t count) {
    if (count > kInlineMax) {
        memset(dest, c, count);
    } else {
        FillShort(static_cast<unsigned char*>(dest), static_cast<unsigned char>(c), count);
    }
    return BOUNDED_OK;
}

// Classifies a refused fill; the order of the checks is part of the contract.
[[gnu::cold]] int FillError(void* dest, size_t destMax, int c) {
    if (destMax == 0 || destMax > BOUNDED_MAX) {
        return BOUNDED_ERANGE;
    }
    if (dest == nullptr) {
        return BOUNDED_EINVAL;
    }
    memset(dest, c, destMax);
    return BOUNDED_ERANGE_RESET;
}

inline int FillWithinLimit(void* dest, size_t destMax, int c, size_t count) {
    if (dest != nullptr && destMax <= BOUNDED_MAX && count <= destMax) {
        return Fill(dest, c, count);
    }
    return FillError(dest, destMax, c);
}

inline void CopyShort(char* dest, const char* src, size_t count) {
    if (IsAligned(dest) && IsAligned(src)) {
        CopyWords(reinterpret_cast<unsigned char*>(dest),
                  reinterpret_cast<const unsigned char*>(src), count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        dest[i] = src[i];
    }
}

// Returns the length of `src`, or `destMax` (at least 1) when it is not shorter. The test for an
// empty string saves the call that the bound of strcpy_s beside libsafec does not leave room for.
inline size_t LengthWithin(const char* src, size_t destMax) {
    return src[0] == '\0' ? 0 : strnlen(src, destMax);
}

bool Overlap(const char* dest, const char* src, size_t size) {
    const auto to = reinterpret_cast<uintptr_t>(dest);
    const auto from = reinterpret_cast<uintptr_t>(src);
    return (from < to && to - from < size) || (to < from && from - to < size);
}

}  // namespace

int memset_s(void* dest, size_t destMax, int c, size_t count) {
    return FillWithinLimit(dest, destMax, c, count);
}

int memset_sOptAsm(void* dest, size_t destMax, int c, size_t count) {
    return FillWithinLimit(dest, destMax, c, count);
}

int memset_sOptTc(void* dest, size_t destMax, int c, size_t count) {
    // Deliberately without the upper limit of destMax, unlike the other variants.
    if (dest != nullptr && count <= destMax) {
        return Fill(dest, c, count);
    }
    return FillError(dest, destMax, c);
}

int strcpy_s(char* dest, size_t destMax, const char* src) {
    if (dest == nullptr || src == nullptr || dest == src || destMax == 0 || destMax > BOUNDED_MAX) {
        return strcpy_error(dest, destMax, src);
    }
    const size_t length = LengthWithin(src, destMax);
    if (length == destMax) {
        return strcpy_error(dest, destMax, src);
    }
    const size_t size = length + 1;
    if (Overlap(dest, src, size)) {
        dest[0] = '\0';
        return BOUNDED_EOVERLAP_RESET;
    }
    if (size > kInlineMax) {
        memcpy(dest, src, size);
    } else {
        CopyShort(dest, src, size);
    }
    return BOUNDED_OK;
}

int strcpy_error(char* dest, size_t destMax, const char* src) {
    if (destMax == 0 || destMax > BOUNDED_MAX) {
        return BOUNDED_ERANGE;
    }
    if (dest != nullptr && src != nullptr) {
        if (LengthWithin(src, destMax) < destMax) {
            return BOUNDED_OK;  // fits, or is copied onto itself
        }
        dest[0] = '\0';
        return BOUNDED_ERANGE_RESET;
    }
    if (dest == nullptr) {
        return BOUNDED_EINVAL;
    }
    dest[0] = '\0';
    return BOUNDED_EINVAL_RESET;
}
