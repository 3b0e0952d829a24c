// Writing whole lines to a descriptor.
#pragma once

#include <string_view>

// Remembers whether the last line was cut off, so that the next one starts on a line of its own.
class LineWriter {
   public:
    // Writes `line`, which ends with a line break, with QuietWrite(). Returns false, with errno
    // set, when it was not written completely.
    bool Write(int fd, std::string_view line);

    void SetCut(bool isCut) {
        isCut_ = isCut;
    }

   private:
    bool isCut_ = false;
};
