// Text that a message quotes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "EscapeText.h"

// Returns the beginning of `text` in quotes, escaped and short enough for a message.
inline std::string Quoted(std::string_view text) {
    constexpr std::size_t kShown = 60;
    std::string quoted = "\"" + Escaped(text.substr(0, kShown));
    return quoted.append(text.size() > kShown ? "...\"" : "\"");
}
