#include "EscapeText.h"

#include <array>
#include <cstdio>

#include "Utf8.h"

namespace {

bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

// Line and paragraph separators, and characters that change the direction of text.
bool ChangesLayout(char32_t code) {
    return (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) ||
           code == 0x200E || code == 0x200F || code == 0x061C;
}

void AppendEscape(std::string& line, unsigned code, bool isByte) {
    switch (code) {
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
    std::array<char, 8> escape = {};
    (void)std::snprintf(escape.data(), escape.size(), isByte ? "\\x%02x" : "\\u%04x", code);
    line += escape.data();
}

}  // namespace

void AppendEscaped(std::string& line, std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = FirstUtf8Character(text);
        if (character.bytes == 0) {
            AppendEscape(line, static_cast<unsigned char>(text[0]), true);
            text.remove_prefix(1);
            continue;
        }
        if (IsControl(character.code) || ChangesLayout(character.code)) {
            AppendEscape(line, static_cast<unsigned>(character.code), character.bytes == 1);
        } else {
            line.append(text.substr(0, character.bytes));
        }
        text.remove_prefix(character.bytes);
    }
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    AppendEscaped(escaped, text);
    return escaped;
}
