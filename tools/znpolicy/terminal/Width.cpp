#include "Width.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "Utf8.h"

std::size_t TerminalWidth(int descriptor) {
    std::size_t columns = 0;
    if (const char* const text = std::getenv("COLUMNS")) {
        std::from_chars(text, text + std::strlen(text), columns);
    }
    struct winsize size = {};
    if (columns == 0 && ioctl(descriptor, TIOCGWINSZ, &size) == 0) {
        columns = size.ws_col;
    }
    return columns == 0 ? 80 : columns;
}

std::size_t TextWidth(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), StartsUtf8Character));
}

std::vector<std::string> WrapWords(const std::string& text, std::size_t width) {
    std::vector<std::string> lines(1);
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t word = std::min(text.find_first_not_of(' ', begin), text.size());
        const std::size_t end = std::min(text.find(' ', word), text.size());
        std::string piece = text.substr(begin, end - begin);  // a word and the spaces before it
        if (begin > 0 && TextWidth(lines.back()) + TextWidth(piece) > width) {
            lines.emplace_back();
            piece = text.substr(word, end - word);
        }
        lines.back() += piece;
        begin = end;
    }
    return lines;
}
