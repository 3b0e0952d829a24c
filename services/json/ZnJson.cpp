#include "ZnJson.h"
