// Text that a message quotes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "EscapeText.h"

// Returns the beginning of `text` in quotes, escaped and short enough for a message.
inline std::string Quoted(std::string_view text) {
    constexpr std::size_t kShown = 60;
    if (text.size() <= kShown) {
        return "\"" + Escaped(text) + "\"";
    }
    // Does not cut a UTF-8 character, which has up to three bytes more.
    std::size_t shown = kShown;
    while (shown > kShown - 3 && (static_cast<unsigned char>(text[shown]) & 0xC0U) == 0x80U) {
        --shown;
    }
    return "\"" + Escaped(text.substr(0, shown)) + "...\"";
}
