#include "ZnFileSys.h"
