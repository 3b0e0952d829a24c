#include "LineWriter.h"

#include <string>

#include "QuietWrite.h"

bool LineWriter::Write(int fd, std::string_view line) {
    const std::string text = (isCut_ ? "\n" : "") + std::string(line);
    const std::size_t written = QuietWrite(fd, text);
    if (written > 0) {
        isCut_ = text[written - 1] != '\n';
    }
    return written == text.size();
}
