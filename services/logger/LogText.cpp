#include "LogText.h"

#include <spdlog/fmt/fmt.h>

#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

// A character of a text: what it is and how many bytes it takes. A byte that is no part of a UTF-8
// character stands alone and is not valid.
struct Character {
    uint32_t codePoint;
    size_t length;
    bool valid;
};

uint32_t ByteAt(std::string_view text, size_t position) {
    return static_cast<unsigned char>(text[position]);
}

bool IsContinuation(uint32_t byte) {
    return (byte & 0xC0U) == 0x80U;
}

// The length that the first byte of a character announces; 0 when no character starts with it.
size_t AnnouncedLength(uint32_t first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// Whether `codePoint` is a Unicode character that takes no fewer than `length` bytes.
bool IsWellFormed(uint32_t codePoint, size_t length) {
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint >= kSmallest[length] && codePoint <= 0x10FFFF && !surrogate;
}

// Reads the first character of `text`, which is not empty.
Character FirstCharacter(std::string_view text) {
    const uint32_t first = ByteAt(text, 0);
    const Character lone = {first, 1, false};
    const size_t length = AnnouncedLength(first);
    if (length == 1) {
        return {first, 1, true};
    }
    if (length == 0 || length > text.size()) {
        return lone;
    }
    uint32_t codePoint = first & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
        const uint32_t next = ByteAt(text, i);
        if (!IsContinuation(next)) {
            return lone;
        }
        codePoint = codePoint << 6 | (next & 0x3FU);
    }
    return IsWellFormed(codePoint, length) ? Character{codePoint, length, true} : lone;
}

bool IsControl(uint32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F);
}

// Separators that some viewers break a line at, and marks that make text run the other way.
bool ChangesTheLine(uint32_t codePoint) {
    return (codePoint >= 0x2028 && codePoint <= 0x202E) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069) || codePoint == 0x200E ||
           codePoint == 0x200F || codePoint == 0x061C;
}

void AppendEscape(std::string& line, const Character& character) {
    switch (character.codePoint) {
        case '\n':
            line += "\\n";
            return;
        case '\r':
            line += "\\r";
            return;
        case '\t':
            line += "\\t";
            return;
        default:
            break;
    }
    const bool oneByte = character.length == 1;
    fmt::format_to(std::back_inserter(line), oneByte ? "\\x{:02x}" : "\\u{:04x}",
                   character.codePoint);
}

bool IsPlain(char character) {
    return character >= 0x20 && character < 0x7F;
}

// The length of the plain ASCII text that `text` starts with.
size_t PlainLength(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && IsPlain(text[length])) {
        ++length;
    }
    return length;
}

}  // namespace

void AppendEscaped(std::string& line, std::string_view text) {
    while (!text.empty()) {
        const size_t plain = PlainLength(text);
        line.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) {
            return;
        }
        const Character character = FirstCharacter(text);
        if (!character.valid || IsControl(character.codePoint) ||
            ChangesTheLine(character.codePoint)) {
            AppendEscape(line, character);
        } else {
            line.append(text.substr(0, character.length));
        }
        text.remove_prefix(character.length);
    }
}

std::string FormatText(const char* format, va_list arguments) {
    char buffer[1024];
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(buffer, sizeof buffer, format, arguments);
    std::string text;
    if (length < 0) {
        text = format;
    } else if (static_cast<size_t>(length) < sizeof buffer) {
        text.assign(buffer, static_cast<size_t>(length));
    } else {
        text.resize(static_cast<size_t>(length));
        (void)vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}
