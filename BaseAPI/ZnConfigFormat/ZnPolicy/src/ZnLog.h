// How the library's sources write a log record.
#pragma once

#include "ZnLogger.h"

// Writes one record in the name of the function it stands in. `level` is a LogLevel; a printf
// format and its arguments follow. Not for lambdas: their __func__ is not the function's name.
#define ZN_LOG(level, ...) \
    ZnLogger::GetInstance()->Log(__FILE__, __LINE__, __func__, " ", "", level, __VA_ARGS__)
