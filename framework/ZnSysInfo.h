// System information of the framework (libZnSysInfo).
#pragma once

#include <string>

#include "ZnExport.h"

// The running process.
class ZN_API ZnSysInfo {
   public:
    // Returns the directory of the running executable, with links resolved, as an absolute path
    // without a trailing separator. Callers append "/" and a relative path, so that the root
    // directory is "".
    //
    // The executable is found once, when the library is loaded: through /proc, or, where /proc is
    // not mounted, by the path that the program was started with. In the latter case, a library
    // that is loaded after a relative path has become invalid, because the program changed its
    // working directory, finds nothing or another file of that name. When nothing is found or
    // memory runs out, the result is "", which callers cannot tell from the root directory.
    //
    // When the environment variable ZN_PROCESS_DIRECTORY is set and not empty, that directory is
    // returned instead, whether it exists or not; a relative one starts at the working directory.
    // In a process with raised privileges it is ignored, with a note on standard error. Nothing
    // throws or logs; safe from any thread.
    static std::string GetCurrentProcessDirectory();
};
