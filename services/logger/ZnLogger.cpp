#include "ZnLogger.h"
