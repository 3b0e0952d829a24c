#include "ZnSysInfo.h"
