// System information of the framework (libZnSysInfo).
#pragma once

#include <string>

#include "ZnExport.h"

class ZN_API ZnSysInfo {
   public:
    // Returns the directory of the running executable, links resolved, as an absolute path without
    // a trailing separator, or "" when the system does not tell. Callers append "/" and a relative
    // path; for the root directory, too, the result is "".
    // When the environment variable ZN_PROCESS_DIRECTORY is set and not empty, that directory is
    // the result instead, whether it exists or not; a relative one starts at the working directory.
    // It is ignored in a process with raised privileges. Nothing throws or logs; safe from any
    // thread.
    static std::string GetCurrentProcessDirectory();
};
