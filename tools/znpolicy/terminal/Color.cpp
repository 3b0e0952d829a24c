#include "Color.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

static std::string g_mode = "auto";

void SetColorMode(const std::string& mode) {
    g_mode = mode;
}

static std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

static bool HasColors(const std::ostream& out) {
    if (g_mode != "auto") {
        return g_mode == "always";
    }
    const int descriptor = &out == &std::cerr   ? STDERR_FILENO
                           : &out == &std::cout ? STDOUT_FILENO
                                                : -1;
    return isatty(descriptor) != 0 && Variable("NO_COLOR").empty() && Variable("TERM") != "dumb";
}

std::string Colored(const std::ostream& out, Color color, const std::string& text) {
    return HasColors(out) ? (color == Color::kRed ? "\x1b[31m" : "\x1b[33m") + text + "\x1b[0m"
                          : text;
}
