// Paths of virtual-channel plugins.
#pragma once

#include <string>

#include "VekVcItems.h"
#include "ZnExport.h"

// Reserved for paths of plugins.
class ZN_API ZnVcPath {
   public:
    // A placeholder: ignores `dir` and `item` and returns "". Logs nothing. Thread-safe.
    static std::string ZnVcClientDllFilePath(std::string dir, VekVcItems item);
};
