#include "FormatText.h"

#include <cstdio>

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
