// Paths of virtual-channel plugins.
#pragma once

#include <string>

#include "VekVcItems.h"
#include "ZnExport.h"

class ZN_API ZnVcPath {
   public:
    // Always "": a placeholder of the interface, both arguments are ignored. Logs nothing.
    static std::string ZnVcClientDllFilePath(std::string dir, VekVcItems item);
};
