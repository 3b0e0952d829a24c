// A logger that keeps its records, in place of libZnLogger.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ZnLogger.h"

// What a test looks at first in a record.
struct Logged {
    int level;
    std::string function;
    std::string text;
};

bool operator==(const Logged& a, const Logged& b);
std::ostream& operator<<(std::ostream& out, const Logged& logged);

// The rest of a record, the same for all records of a source file.
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
