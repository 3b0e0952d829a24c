// System information of the framework (libZnSysInfo).
#pragma once

#include <string>

#include "ZnExport.h"

class ZN_API ZnSysInfo {
   public:
    // Returns the directory of the running executable, with links resolved, as an absolute path
    // without a trailing separator. Callers append "/" and a relative path, so the root directory
    // is
    // "".
    // The system reports the executable through /proc, or by the path that the program was started
    // with where /proc is not mounted. When neither leads to a file (it was started by a relative
    // path and has changed its working directory, for example) or memory runs out, the result is
    // "", which callers cannot tell from the root directory. When the environment variable
    // ZN_PROCESS_DIRECTORY is set and not empty, that directory is returned instead, whether it
    // exists or not; a relative one starts at the working directory. In a process with raised
    // privileges it is ignored, with a note on standard error. Nothing throws or logs; safe from
    // any thread.
    static std::string GetCurrentProcessDirectory();
};
