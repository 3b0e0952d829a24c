#include "TextPosition.h"

#include <algorithm>

#include "Utf8.h"

TextPosition TextPositions::At(std::size_t offset) {
    if (offset < offset_) {
        offset_ = 0;
        position_ = {1, 1};
    }
    if (offset_ == 0) {
        offset_ = ByteOrderMarkSize(text_);
    }
    for (const std::size_t end = std::min(offset, text_.size()); offset_ < end; ++offset_) {
        if (text_[offset_] == '\n') {
            ++position_.line;
            position_.column = 1;
        } else if (StartsUtf8Character(text_[offset_])) {
            ++position_.column;
        }
    }
    return position_;
}
