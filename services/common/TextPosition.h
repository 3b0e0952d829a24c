// Lines and columns of text.
#pragma once

#include <cstddef>
#include <string_view>

// Both count from 1; columns count characters. Line 0 means that there is no position.
struct TextPosition {
    std::size_t line = 0;
    std::size_t column = 0;
};

// Finds the positions of byte offsets in one text. A byte order mark has no column of its own.
class TextPositions {
   public:
    explicit TextPositions(std::string_view text) : text_(text) {}

    // Returns the position of the byte at `offset`, or of the end of the text if that is before it.
    // Ascending offsets cost one pass over the text altogether.
    TextPosition At(std::size_t offset);

   private:
    std::string_view text_;
    std::size_t offset_ = 0;  // position_ is that of this byte
    TextPosition position_ = {1, 1};
};
