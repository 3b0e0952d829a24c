#include "ZnVcUpdate.h"
