// Wrong: ends with a separator.
#include "ZnSysInfo.h"

std::string ZnSysInfo::GetCurrentProcessDirectory() {
    return "/opt/product/";
}
