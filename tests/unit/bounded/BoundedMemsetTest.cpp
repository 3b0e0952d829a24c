#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "GuardedPage.h"
#include "bounded.h"

namespace {

using Fill = int (*)(void*, size_t, int, size_t);

struct Variant {
    const char* name;
    Fill fill;
};

std::ostream& operator<<(std::ostream& out, const Variant& variant) {
    return out << variant.name;
}

const Variant kVariants[] = {
    {"memset_s", memset_s},
    {"memset_sOptAsm", memset_sOptAsm},
    {"memset_sOptTc", memset_sOptTc},
};

constexpr size_t kAlignments = 16;
constexpr size_t kGuard = 16;
constexpr unsigned char kUnwritten = 0x5A;

// Values that are filled in words, values of more than a byte, and others.
const int kValues[] = {0, 255, -1, 256, 511, INT_MIN, 1, 'x', 256 + 'x', 0x7F, 0x80, 0xFE};

// A buffer of `size` bytes at `alignment`, with guard bytes before and after it.
class GuardedBuffer {
   public:
    GuardedBuffer(size_t alignment, size_t size) : begin_(kGuard + alignment), size_(size) {
        bytes_.fill(kUnwritten);
    }

    unsigned char* Begin() {
        return bytes_.data() + begin_;
    }

    // Whether the first `count` bytes are `value` and all others are unchanged.
    bool IsFilled(unsigned char value, size_t count) const {
        std::array<unsigned char, kSize> expected = {};
        expected.fill(kUnwritten);
        for (size_t i = 0; i < count; ++i) {
            expected.at(begin_ + i) = value;
        }
        return size_ + begin_ + kGuard <= kSize && bytes_ == expected;
    }

   private:
    static constexpr size_t kSize = 256;
    alignas(16) std::array<unsigned char, kSize> bytes_ = {};
    size_t begin_;
    size_t size_;
};

class MemsetTest : public testing::TestWithParam<Variant> {
   protected:
    static int Call(void* dest, size_t destMax, int c, size_t count) {
        return GetParam().fill(dest, destMax, c, count);
    }
};

INSTANTIATE_TEST_SUITE_P(Variants, MemsetTest, testing::ValuesIn(kVariants),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(MemsetTest, FillsExactlyCountBytesAtEveryAlignment) {
    for (size_t alignment = 0; alignment < kAlignments; ++alignment) {
        for (size_t count = 0; count <= 64; ++count) {
            for (const int c : kValues) {
                for (const size_t spare : {0U, 1U, 20U}) {
                    GuardedBuffer buffer(alignment, count + spare);
                    ASSERT_EQ(Call(buffer.Begin(), count + spare, c, count), BOUNDED_OK);
                    ASSERT_TRUE(buffer.IsFilled(static_cast<unsigned char>(c), count))
                        << "alignment " << alignment << ", count " << count << ", value " << c;
                }
            }
        }
    }
}

TEST_P(MemsetTest, FillsWholeDestinationWhenCountIsTooLarge) {
    for (size_t alignment = 0; alignment < kAlignments; ++alignment) {
        for (size_t destMax = 1; destMax <= 64; ++destMax) {
            for (const int c : kValues) {
                for (const size_t count : {destMax + 1, 2 * destMax, BOUNDED_MAX, SIZE_MAX}) {
                    GuardedBuffer buffer(alignment, destMax);
                    ASSERT_EQ(Call(buffer.Begin(), destMax, c, count), BOUNDED_ERANGE_RESET);
                    ASSERT_TRUE(buffer.IsFilled(static_cast<unsigned char>(c), destMax))
                        << "alignment " << alignment << ", size " << destMax << ", value " << c;
                }
            }
        }
    }
}

TEST_P(MemsetTest, FillsLargeDestinations) {
    std::string buffer(100'002, 'u');
    const std::string filled = "u" + std::string(100'000, 'x') + "u";
    EXPECT_EQ(Call(&buffer[1], 100'000, 'x', 100'000), BOUNDED_OK);
    EXPECT_TRUE(buffer == filled);
    buffer.assign(100'002, 'u');
    EXPECT_EQ(Call(&buffer[1], 100'000, 'x', 100'001), BOUNDED_ERANGE_RESET);
    EXPECT_TRUE(buffer == filled);
}

TEST_P(MemsetTest, FillsTenBytesOfTenButNotEleven) {
    GuardedBuffer buffer(0, 10);
    EXPECT_EQ(Call(buffer.Begin(), 10, 'x', 10), BOUNDED_OK);
    EXPECT_TRUE(buffer.IsFilled('x', 10));
    EXPECT_EQ(Call(buffer.Begin(), 10, 'y', 11), BOUNDED_ERANGE_RESET);
    EXPECT_TRUE(buffer.IsFilled('y', 10));
}

TEST_P(MemsetTest, AcceptsSizeZeroWithCountZeroOnly) {
    GuardedBuffer buffer(0, 0);
    EXPECT_EQ(Call(buffer.Begin(), 0, 'x', 0), BOUNDED_OK);
    EXPECT_EQ(Call(buffer.Begin(), 0, 'x', 1), BOUNDED_ERANGE);
    EXPECT_EQ(Call(buffer.Begin(), 0, 'x', SIZE_MAX), BOUNDED_ERANGE);
    EXPECT_TRUE(buffer.IsFilled('x', 0));
}

TEST_P(MemsetTest, ChecksSizeBeforePointer) {
    EXPECT_EQ(Call(nullptr, 10, 0, 5), BOUNDED_EINVAL);
    EXPECT_EQ(Call(nullptr, 10, 0, 0), BOUNDED_EINVAL);
    EXPECT_EQ(Call(nullptr, 10, 0, 11), BOUNDED_EINVAL);
    EXPECT_EQ(Call(nullptr, BOUNDED_MAX, 0, 5), BOUNDED_EINVAL);
    EXPECT_EQ(Call(nullptr, 0, 0, 0), BOUNDED_ERANGE);
    EXPECT_EQ(Call(nullptr, 0, 0, 1), BOUNDED_ERANGE);
    EXPECT_EQ(Call(nullptr, BOUNDED_MAX + 1, 0, 0), BOUNDED_ERANGE);
    EXPECT_EQ(Call(nullptr, SIZE_MAX, 0, 5), BOUNDED_ERANGE);
}

TEST_P(MemsetTest, AcceptsTheLargestSize) {
    GuardedBuffer buffer(0, 40);
    EXPECT_EQ(Call(buffer.Begin(), 0x7FFFFFFF, 'x', 16), BOUNDED_OK);
    EXPECT_TRUE(buffer.IsFilled('x', 16));
    EXPECT_EQ(Call(buffer.Begin(), 0x7FFFFFFF, 'y', 40), BOUNDED_OK);
    EXPECT_TRUE(buffer.IsFilled('y', 40));
}

TEST_P(MemsetTest, RefusesTooLargeSizeBeforeTooLargeCount) {
    GuardedBuffer buffer(0, 40);
    EXPECT_EQ(Call(buffer.Begin(), BOUNDED_MAX + 1, 'x', BOUNDED_MAX + 2), BOUNDED_ERANGE);
    EXPECT_EQ(Call(buffer.Begin(), SIZE_MAX - 1, 'x', SIZE_MAX), BOUNDED_ERANGE);
    EXPECT_TRUE(buffer.IsFilled('x', 0));
}

TEST_P(MemsetTest, WritesNothingBeyondDestination) {
    const GuardedPage page;
    for (size_t size = 1; size <= 64; ++size) {
        for (const int c : {0, 255, 120}) {
            EXPECT_EQ(Call(page.End() - size, size, c, size), BOUNDED_OK);
            EXPECT_EQ(Call(page.End() - size, size, c, size + 1), BOUNDED_ERANGE_RESET);
        }
    }
}

// The difference between the variants: only memset_sOptTc accepts a size above the limit.

class MemsetAboveLimitTest : public MemsetTest {};

INSTANTIATE_TEST_SUITE_P(Variants, MemsetAboveLimitTest,
                         testing::Values(kVariants[0], kVariants[1]),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(MemsetAboveLimitTest, RefusesAndWritesNothing) {
    GuardedBuffer buffer(0, 64);
    for (const size_t destMax : {BOUNDED_MAX + 1, size_t{0x80000000}, SIZE_MAX}) {
        for (const size_t count : {0U, 16U, 64U}) {
            EXPECT_EQ(Call(buffer.Begin(), destMax, 'x', count), BOUNDED_ERANGE);
        }
    }
    EXPECT_TRUE(buffer.IsFilled('x', 0));
}

TEST(MemsetSOptTcTest, AcceptsSizeAboveLimit) {
    for (const size_t destMax : {BOUNDED_MAX + 1, size_t{0x80000000}, SIZE_MAX}) {
        for (const size_t count : {0U, 16U, 64U}) {
            GuardedBuffer buffer(0, 64);
            EXPECT_EQ(memset_sOptTc(buffer.Begin(), destMax, 0, count), BOUNDED_OK);
            EXPECT_TRUE(buffer.IsFilled(0, count));
        }
    }
}

TEST(AllOnesTest, Has32BytesOf0xFF) {
    static_assert(sizeof g_allFF == 32);
    for (const unsigned char byte : g_allFF) {
        EXPECT_EQ(byte, 0xFF);
    }
}

TEST(ResultCodesTest, AreSystemCodesPlus128AfterReset) {
    EXPECT_EQ(BOUNDED_OK, 0);
    EXPECT_EQ(BOUNDED_EINVAL, EINVAL);
    EXPECT_EQ(BOUNDED_ERANGE, ERANGE);
    EXPECT_EQ(BOUNDED_EINVAL_RESET, 150);
    EXPECT_EQ(BOUNDED_ERANGE_RESET, 162);
    EXPECT_EQ(BOUNDED_EOVERLAP_RESET, 182);
    EXPECT_EQ(BOUNDED_MAX, 2147483647U);
}

}  // namespace
