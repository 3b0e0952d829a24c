// System information of the framework (libZnSysInfo).
#pragma once

#include <string>

#include "ZnExport.h"

class ZN_API ZnSysInfo {
   public:
    // Returns the directory of the running executable as an absolute path without a trailing
    // separator, or "" when the system does not tell. Callers append "/" and a relative path.
    // Nothing throws or logs; safe from any thread.
    static std::string GetCurrentProcessDirectory();
};
