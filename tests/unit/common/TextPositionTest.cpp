#include <gtest/gtest.h>

#include "TextPosition.h"

namespace {

void ExpectPosition(TextPosition position, std::size_t line, std::size_t column) {
    EXPECT_EQ(position.line, line);
    EXPECT_EQ(position.column, column);
}

TEST(TextPositionTest, LinesAndColumnsCountFromOne) {
    TextPositions positions("ab\ncd");
    ExpectPosition(positions.At(0), 1, 1);
    ExpectPosition(positions.At(1), 1, 2);
    ExpectPosition(positions.At(3), 2, 1);
    ExpectPosition(positions.At(5), 2, 3);
}

TEST(TextPositionTest, ColumnsCountCharacters) {
    ExpectPosition(TextPositions("\xC3\xA4\xE2\x82\xAC!").At(5), 1, 3);
}

TEST(TextPositionTest, ByteOrderMarkHasNoColumn) {
    TextPositions positions("\xEF\xBB\xBF<");
    ExpectPosition(positions.At(0), 1, 1);
    ExpectPosition(positions.At(3), 1, 1);
}

TEST(TextPositionTest, SmallerOffsetIsFoundAgain) {
    TextPositions positions("ab\ncd");
    ExpectPosition(positions.At(4), 2, 2);
    ExpectPosition(positions.At(1), 1, 2);
}

TEST(TextPositionTest, OffsetBeyondTheTextIsItsEnd) {
    ExpectPosition(TextPositions("ab").At(100), 1, 3);
}

}  // namespace
