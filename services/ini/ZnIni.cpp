#include "ZnIni.h"
