// What the library's readers return for one terminal or session.
#pragma once

#include <string>
#include <vector>

#include "AutoReconnect.h"
#include "VekVcItems.h"

// The bandwidth allowance of a module.
struct Allowance {
    std::string module;
    int bytesPerSecond;
    int bytesPerMillisecond;
    std::string limit;  // which limit it comes from: "total", "absolute" or "share"
};

struct Session {
    int dataTransportFlag = 0;
    AutoReconnect reconnect = {};
    bool disableLoginHint = false;
    int autoCloseSeconds = 0;
    std::vector<Allowance> bandwidth;  // sorted by module
    std::vector<VekVcItems> vcItems;
    std::string vcProblem;  // why the plugin list was refused, else ""
};

// Throws std::runtime_error, with the reason, when there is no policy for `id` or it cannot be
// loaded.
Session ReadSession(int id);
