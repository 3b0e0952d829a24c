// Integers in policies.
#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>

// Converts a decimal 32-bit number with an optional sign and optional blanks around it. Returns
// nothing for any other text.
inline std::optional<int> PolicyNumber(std::string_view text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    text = text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
    if (text[0] == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text[0] == '-') {
            return std::nullopt;
        }
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}
