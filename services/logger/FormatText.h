// printf formatting into a string.
#pragma once

#include <cstdarg>
#include <string>

// Returns what printf would print for `format`, whatever its length. A format that cannot be
// printed is returned unchanged.
std::string FormatText(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
