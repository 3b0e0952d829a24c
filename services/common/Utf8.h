// Decoding UTF-8, one character at a time.
#pragma once

#include <cstddef>
#include <string_view>

// The size of the byte order mark that `text` begins with, or 0.
inline std::size_t ByteOrderMarkSize(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    return text.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
}

// Whether a character of valid UTF-8 starts with this byte. The number of such bytes is the number
// of characters.
inline bool StartsUtf8Character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

// A code point and the number of bytes that encode it; 0 bytes for an invalid sequence.
struct Utf8Character {
    char32_t code = 0;
    std::size_t bytes = 0;
};

// Decodes the first character of `text`. Invalid are overlong forms, surrogates, code points above
// U+10FFFF, stray and missing continuation bytes, and an empty text.
inline Utf8Character FirstUtf8Character(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) {
        return {};
    }
    char32_t code = lead & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80U) {
            return {};
        }
        code = (code << 6) | (next & 0x3FU);
    }
    const bool overlong = (bytes == 3 && code < 0x800) || (bytes == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (overlong || surrogate || code > 0x10FFFF) {
        return {};
    }
    return {code, bytes};
}
