#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "GuardedPage.h"
#include "bounded.h"

namespace {

constexpr char kUntouched = '#';

// A text of `length` characters in which adjacent characters differ.
std::string Text(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>('!' + 2 + i % 90);
    }
    return text;
}

// A buffer whose bytes are all compared.
struct Buffer {
    alignas(16) std::array<char, 256> bytes = {};

    Buffer() {
        bytes.fill(kUntouched);
    }

    std::string All() const {
        return {bytes.data(), bytes.size()};
    }

    // The expected contents with `written` at `offset` and all else unchanged.
    static std::string Expected(size_t offset, const std::string& written) {
        return std::string(256, kUntouched).replace(offset, written.size(), written);
    }
};

// The text with its terminator.
std::string Terminated(const std::string& text) {
    return text + '\0';
}

// --- Copying ---

TEST(StrcpySTest, CopiesAtEveryPairOfAlignments) {
    for (size_t length = 0; length <= 64; ++length) {
        const std::string text = Text(length);
        for (size_t from = 0; from < 8; ++from) {
            Buffer source;
            memcpy(&source.bytes[from], text.c_str(), length + 1);
            for (size_t to = 0; to < 8; ++to) {
                for (const size_t spare : {0U, 1U, 100U}) {
                    Buffer dest;
                    ASSERT_EQ(
                        strcpy_s(&dest.bytes[16 + to], length + 1 + spare, &source.bytes[from]),
                        BOUNDED_OK);
                    ASSERT_EQ(dest.All(), Buffer::Expected(16 + to, Terminated(text)))
                        << "length " << length << ", alignments " << from << " and " << to;
                }
            }
        }
    }
}

TEST(StrcpySTest, CopiesAroundInlineLimit) {
    std::array<char, 32> exact = {};
    EXPECT_EQ(strcpy_s(exact.data(), exact.size(), Text(31).c_str()), BOUNDED_OK);
    EXPECT_EQ(exact.data(), Text(31));
    std::array<char, 40> larger = {};
    EXPECT_EQ(strcpy_s(larger.data(), larger.size(), Text(32).c_str()), BOUNDED_OK);
    EXPECT_EQ(larger.data(), Text(32));
    std::string large(100'001, kUntouched);
    EXPECT_EQ(strcpy_s(large.data(), large.size(), Text(100'000).c_str()), BOUNDED_OK);
    EXPECT_TRUE(large == Terminated(Text(100'000)));
}

TEST(StrcpySTest, CopiesBytesOfAllValues) {
    std::string text;
    for (int byte = 255; byte > 0; --byte) {
        text += static_cast<char>(byte);
    }
    Buffer dest;
    EXPECT_EQ(strcpy_s(dest.bytes.data(), 256, text.c_str()), BOUNDED_OK);
    EXPECT_EQ(dest.All(), Terminated(text));
}

TEST(StrcpySTest, AcceptsTheLargestSize) {
    Buffer dest;
    EXPECT_EQ(strcpy_s(dest.bytes.data(), 0x7FFFFFFF, "abc"), BOUNDED_OK);
    EXPECT_EQ(dest.All(), Buffer::Expected(0, Terminated("abc")));
}

// --- Refusing ---

TEST(StrcpySTest, EmptiesDestinationWhenTextDoesNotFit) {
    for (size_t destMax = 1; destMax <= 64; ++destMax) {
        for (const size_t excess : {0U, 1U, 40U}) {
            Buffer dest;
            ASSERT_EQ(strcpy_s(&dest.bytes[16], destMax, Text(destMax + excess).c_str()),
                      BOUNDED_ERANGE_RESET);
            ASSERT_EQ(dest.All(), Buffer::Expected(16, Terminated(""))) << "size " << destMax;
        }
    }
}

TEST(StrcpySTest, CopiesThreeCharactersIntoFourBytesButNotThree) {
    Buffer dest;
    EXPECT_EQ(strcpy_s(dest.bytes.data(), 4, "abc"), BOUNDED_OK);
    EXPECT_EQ(dest.All(), Buffer::Expected(0, Terminated("abc")));
    EXPECT_EQ(strcpy_s(dest.bytes.data(), 3, "abc"), BOUNDED_ERANGE_RESET);
    EXPECT_EQ(dest.bytes[0], '\0');
}

TEST(StrcpySTest, WritesNothingForInvalidSize) {
    for (const size_t destMax : {size_t{0}, size_t{0x80000000}, SIZE_MAX}) {
        Buffer dest;
        EXPECT_EQ(strcpy_s(dest.bytes.data(), destMax, "a"), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_s(dest.bytes.data(), destMax, nullptr), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_s(dest.bytes.data(), destMax, dest.bytes.data()), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_s(nullptr, destMax, "a"), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_s(nullptr, destMax, nullptr), BOUNDED_ERANGE);
        EXPECT_EQ(dest.All(), Buffer::Expected(0, ""));
    }
}

TEST(StrcpySTest, ChecksDestinationBeforeSource) {
    EXPECT_EQ(strcpy_s(nullptr, 4, "a"), BOUNDED_EINVAL);
    EXPECT_EQ(strcpy_s(nullptr, 4, nullptr), BOUNDED_EINVAL);
}

TEST(StrcpySTest, EmptiesDestinationForNullSource) {
    Buffer dest;
    EXPECT_EQ(strcpy_s(&dest.bytes[16], 4, nullptr), BOUNDED_EINVAL_RESET);
    EXPECT_EQ(dest.All(), Buffer::Expected(16, Terminated("")));
}

// --- Source and destination in one buffer ---

TEST(StrcpySTest, KeepsTextCopiedOntoItself) {
    Buffer buffer;
    memcpy(buffer.bytes.data(), "abc", 4);
    EXPECT_EQ(strcpy_s(buffer.bytes.data(), 8, buffer.bytes.data()), BOUNDED_OK);
    EXPECT_EQ(strcpy_s(buffer.bytes.data(), 4, buffer.bytes.data()), BOUNDED_OK);
    EXPECT_EQ(buffer.All(), Buffer::Expected(0, Terminated("abc")));
}

TEST(StrcpySTest, WritesNothingForTextCopiedOntoItself) {
    static const char kReadOnly[] = "a text of more than thirty-two characters, never written";
    char* const text = const_cast<char*>(kReadOnly);
    EXPECT_EQ(strcpy_s(text, sizeof kReadOnly, text), BOUNDED_OK);
    EXPECT_EQ(strcpy_error(text, sizeof kReadOnly, text), BOUNDED_OK);
}

TEST(StrcpySTest, EmptiesUnterminatedTextCopiedOntoItself) {
    Buffer buffer;
    memcpy(&buffer.bytes[16], "12345678", 8);
    EXPECT_EQ(strcpy_s(&buffer.bytes[16], 8, &buffer.bytes[16]), BOUNDED_ERANGE_RESET);
    EXPECT_EQ(buffer.All(), Buffer::Expected(16, Terminated("") + "2345678"));
}

TEST(StrcpySTest, RefusesOverlapInEitherDirection) {
    constexpr size_t kMiddle = 100;
    for (size_t length = 0; length <= 64; ++length) {
        const std::string text = Terminated(Text(length));
        for (size_t dest = kMiddle - text.size() - 1; dest <= kMiddle + text.size() + 1; ++dest) {
            if (dest == kMiddle) {
                continue;
            }
            Buffer buffer;
            memcpy(&buffer.bytes[kMiddle], text.data(), text.size());
            const size_t distance = dest < kMiddle ? kMiddle - dest : dest - kMiddle;
            const bool overlap = distance < text.size();
            std::string expected = Buffer::Expected(kMiddle, text);
            expected.replace(dest, overlap ? 1 : text.size(), overlap ? Terminated("") : text);
            ASSERT_EQ(strcpy_s(&buffer.bytes[dest], 80, &buffer.bytes[kMiddle]),
                      overlap ? BOUNDED_EOVERLAP_RESET : BOUNDED_OK)
                << "length " << length << ", from " << kMiddle << " to " << dest;
            ASSERT_EQ(buffer.All(), expected);
        }
    }
}

TEST(StrcpySTest, RefusesMoveByOneCharacter) {
    Buffer buffer;
    memcpy(buffer.bytes.data(), "abc", 4);
    EXPECT_EQ(strcpy_s(&buffer.bytes[1], 8, buffer.bytes.data()), BOUNDED_EOVERLAP_RESET);
    EXPECT_EQ(buffer.All(), Buffer::Expected(0, std::string("a\0c\0", 4)));
}

TEST(StrcpySTest, ChecksLengthBeforeOverlap) {
    Buffer buffer;
    memcpy(buffer.bytes.data(), "abcdef", 7);
    EXPECT_EQ(strcpy_s(&buffer.bytes[1], 6, buffer.bytes.data()), BOUNDED_ERANGE_RESET);
    EXPECT_EQ(buffer.bytes[1], '\0');
}

// --- The end of accessible memory ---

TEST(StrcpySTest, ReadsNothingBeyondTerminator) {
    const GuardedPage page;
    for (size_t length = 0; length <= 64; ++length) {
        const std::string text = Text(length);
        char* const source = page.End() - length - 1;
        memcpy(source, text.c_str(), length + 1);
        for (const size_t destMax : {size_t{100}, BOUNDED_MAX}) {
            Buffer dest;
            ASSERT_EQ(strcpy_s(dest.bytes.data(), destMax, source), BOUNDED_OK);
            ASSERT_EQ(dest.All(), Buffer::Expected(0, Terminated(text)));
        }
    }
}

TEST(StrcpySTest, ReadsAtMostDestinationSizeOfSource) {
    const GuardedPage page;
    for (size_t length = 1; length <= 64; ++length) {
        char* const source = page.End() - length;
        memset(source, 'x', length);
        Buffer dest;
        ASSERT_EQ(strcpy_s(dest.bytes.data(), length, source), BOUNDED_ERANGE_RESET);
        ASSERT_EQ(dest.All(), Buffer::Expected(0, Terminated("")));
        dest.bytes[0] = kUntouched;
        ASSERT_EQ(strcpy_error(dest.bytes.data(), length, source), BOUNDED_ERANGE_RESET);
        ASSERT_EQ(dest.All(), Buffer::Expected(0, Terminated("")));
        ASSERT_EQ(strcpy_s(source, length, source), BOUNDED_ERANGE_RESET);
    }
}

TEST(StrcpySTest, WritesNothingBeyondDestination) {
    const GuardedPage page;
    for (size_t size = 1; size <= 64; ++size) {
        char* const dest = page.End() - size;
        EXPECT_EQ(strcpy_s(dest, size, Text(size - 1).c_str()), BOUNDED_OK);
        EXPECT_EQ(dest, Text(size - 1));
        EXPECT_EQ(strcpy_s(dest, size, Text(size).c_str()), BOUNDED_ERANGE_RESET);
    }
}

// --- strcpy_error ---

TEST(StrcpyErrorTest, AcceptsFittingTextAndWritesNothing) {
    Buffer dest;
    EXPECT_EQ(strcpy_error(dest.bytes.data(), 4, "abc"), BOUNDED_OK);
    EXPECT_EQ(strcpy_error(dest.bytes.data(), 1, ""), BOUNDED_OK);
    EXPECT_EQ(strcpy_error(dest.bytes.data(), BOUNDED_MAX, "abc"), BOUNDED_OK);
    EXPECT_EQ(dest.All(), Buffer::Expected(0, ""));
}

TEST(StrcpyErrorTest, DoesNotCheckOverlap) {
    Buffer buffer;
    memcpy(buffer.bytes.data(), "abc", 4);
    EXPECT_EQ(strcpy_error(&buffer.bytes[1], 8, buffer.bytes.data()), BOUNDED_OK);
    EXPECT_EQ(strcpy_error(buffer.bytes.data(), 8, buffer.bytes.data()), BOUNDED_OK);
    EXPECT_EQ(buffer.All(), Buffer::Expected(0, Terminated("abc")));
}

TEST(StrcpyErrorTest, EmptiesDestinationWhenTextDoesNotFit) {
    Buffer dest;
    EXPECT_EQ(strcpy_error(&dest.bytes[16], 3, "abc"), BOUNDED_ERANGE_RESET);
    EXPECT_EQ(dest.All(), Buffer::Expected(16, Terminated("")));
}

TEST(StrcpyErrorTest, ChecksSizeThenDestinationThenSource) {
    for (const size_t destMax : {size_t{0}, size_t{0x80000000}, SIZE_MAX}) {
        Buffer dest;
        EXPECT_EQ(strcpy_error(dest.bytes.data(), destMax, "a"), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_error(dest.bytes.data(), destMax, nullptr), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_error(nullptr, destMax, "a"), BOUNDED_ERANGE);
        EXPECT_EQ(strcpy_error(nullptr, destMax, nullptr), BOUNDED_ERANGE);
        EXPECT_EQ(dest.All(), Buffer::Expected(0, ""));
    }
    EXPECT_EQ(strcpy_error(nullptr, 4, "a"), BOUNDED_EINVAL);
    EXPECT_EQ(strcpy_error(nullptr, 4, nullptr), BOUNDED_EINVAL);
    Buffer dest;
    EXPECT_EQ(strcpy_error(&dest.bytes[16], 4, nullptr), BOUNDED_EINVAL_RESET);
    EXPECT_EQ(dest.All(), Buffer::Expected(16, Terminated("")));
}

}  // namespace
