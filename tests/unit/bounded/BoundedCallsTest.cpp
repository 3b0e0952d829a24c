// Short fills and copies make no library call, although compilers tend to replace such loops with
// calls. The linker redirects all calls in this program to the counters below.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

#include "bounded.h"

namespace {

struct Calls {
    int fills = 0;
    int copies = 0;
};

Calls calls;

}  // namespace

extern "C" {

void* __real_memset(void* dest, int c, size_t count);
void* __real_memcpy(void* dest, const void* src, size_t count);
void* __real_memmove(void* dest, const void* src, size_t count);
void* __real_mempcpy(void* dest, const void* src, size_t count);
char* __real_strcpy(char* dest, const char* src);

void* __wrap_memset(void* dest, int c, size_t count) {
    ++calls.fills;
    return __real_memset(dest, c, count);
}

void* __wrap_memcpy(void* dest, const void* src, size_t count) {
    ++calls.copies;
    return __real_memcpy(dest, src, count);
}

void* __wrap_memmove(void* dest, const void* src, size_t count) {
    ++calls.copies;
    return __real_memmove(dest, src, count);
}

void* __wrap_mempcpy(void* dest, const void* src, size_t count) {
    ++calls.copies;
    return __real_mempcpy(dest, src, count);
}

char* __wrap_strcpy(char* dest, const char* src) {
    ++calls.copies;
    return __real_strcpy(dest, src);
}

}  // extern "C"

namespace {

// The calls that `operation` makes.
template <typename Operation>
Calls CallsOf(Operation operation) {
    const Calls before = calls;
    operation();
    return {calls.fills - before.fills, calls.copies - before.copies};
}

struct Buffers {
    alignas(16) std::array<char, 512> to = {};
    alignas(16) std::array<char, 512> from = {};
};

constexpr size_t kLongest = 256;

TEST(LibraryCallsTest, CountsWrappedCalls) {
    // Volatile pointers keep the compiler from replacing the calls.
    void* (*volatile fill)(void*, int, size_t) = memset;
    void* (*volatile copy)(void*, const void*, size_t) = memcpy;
    Buffers buffers;
    const Calls seen = CallsOf([&] {
        fill(buffers.to.data(), 0, 1);
        copy(buffers.to.data(), buffers.from.data(), 1);
    });
    EXPECT_EQ(seen.fills, 1);
    EXPECT_EQ(seen.copies, 1);
}

TEST(LibraryCallsTest, FillsUpTo32BytesWithoutMemset) {
    Buffers buffers;
    for (const auto fill : {memset_s, memset_sOptAsm, memset_sOptTc}) {
        for (size_t alignment = 0; alignment < 16; ++alignment) {
            for (size_t count = 0; count <= kLongest; ++count) {
                for (const int c : {0, 255, 120}) {
                    char* const dest = &buffers.to[alignment];
                    const Calls seen = CallsOf([&] { fill(dest, kLongest, c, count); });
                    ASSERT_EQ(seen.fills, count > 32 ? 1 : 0)
                        << "alignment " << alignment << ", count " << count << ", value " << c;
                    ASSERT_EQ(seen.copies, 0)
                        << "alignment " << alignment << ", count " << count << ", value " << c;
                }
            }
        }
    }
}

TEST(LibraryCallsTest, CopiesUpTo32BytesWithoutMemcpy) {
    Buffers buffers;
    for (size_t from = 0; from < 8; ++from) {
        for (size_t to = 0; to < 8; ++to) {
            for (size_t length = 0; length < kLongest; ++length) {
                buffers.from.fill('x');
                buffers.from[from + length] = '\0';
                const Calls seen =
                    CallsOf([&] { strcpy_s(&buffers.to[to], kLongest, &buffers.from[from]); });
                ASSERT_EQ(seen.copies, length + 1 > 32 ? 1 : 0)
                    << "alignments " << from << " and " << to << ", length " << length;
                ASSERT_EQ(seen.fills, 0)
                    << "alignments " << from << " and " << to << ", length " << length;
            }
        }
    }
}

}  // namespace
