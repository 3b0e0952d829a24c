// A terminal for programs under test.
#pragma once

#include <fcntl.h>
#include <stdlib.h>

#include <array>
#include <string>

#include "FileDescriptor.h"

class PseudoTerminal {
   public:
    PseudoTerminal() : terminal_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (grantpt(terminal_.Get()) == 0 && unlockpt(terminal_.Get()) == 0) {
            other_ = FileDescriptor::Open(ptsname(terminal_.Get()), O_RDWR | O_NOCTTY);
        }
    }

    // The side of the program.
    FileDescriptor& Other() {
        return other_;
    }

    // Reads until `text` has been shown or no program has the terminal open. Returns what was read.
    std::string ShownUpTo(const std::string& text) const {
        std::string shown;
        std::array<char, 64> buffer = {};
        while (shown.find(text) == std::string::npos) {
            const ssize_t count = terminal_.Read(buffer.data(), buffer.size());
            if (count <= 0) {
                break;
            }
            shown.append(buffer.data(), static_cast<size_t>(count));
        }
        return shown;
    }

   private:
    FileDescriptor terminal_;
    FileDescriptor other_;
};
