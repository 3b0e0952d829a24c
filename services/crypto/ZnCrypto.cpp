#include "ZnCrypto.h"
