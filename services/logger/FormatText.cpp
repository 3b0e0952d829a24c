#include "FormatText.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

std::string FormatText(const char* format, va_list arguments) {
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    if (length < 0) {
        return format;
    }
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return {text, static_cast<size_t>(length)};
}
