// Replaces libZnLogger with a logger that keeps its records.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ZnLogger.h"

// The parts of a record that most tests compare.
struct Logged {
    int level;
    std::string function;
    std::string text;
};

bool operator==(const Logged& a, const Logged& b);
std::ostream& operator<<(std::ostream& out, const Logged& logged);

// The other parts of a record.
struct LogOrigin {
    std::string file;  // without its directories
    int line;
    std::string tag1;
    std::string tag2;
    std::string path;  // the file as the compiler knew it
};

class RecordingLogger {
   public:
    // All records since the last Clear, in order.
    static std::vector<Logged> Records();

    // The origins of the same records.
    static std::vector<LogOrigin> Origins();

    static void Clear();
};
