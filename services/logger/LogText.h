// The text of a record, made safe to show as one line.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

// Appends `text` to `line` so that it can neither end the line, nor start another one, nor change
// how its neighbours look on a terminal: control characters (C0, DEL and C1), line and paragraph
// separators and the marks that turn the direction of writing become \n, \r, \t, \xNN or \uNNNN,
// and bytes that are not UTF-8 become \xNN. Everything else, backslashes included, stays as it is.
void AppendEscaped(std::string& line, std::string_view text);

// Returns what printf would print for `format`, of any length. A format that cannot be printed is
// returned itself.
std::string FormatText(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
