#include "ZnXml.h"
