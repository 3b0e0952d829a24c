// Logging for the library's sources.
#pragma once

#include "ZnLogger.h"

// Writes one record with the name of the enclosing function, a LogLevel, a printf format and its
// arguments. Not for lambdas, whose __func__ is "operator()".
#define ZN_LOG(level, ...) \
    ZnLogger::GetInstance()->Log(__FILE__, __LINE__, __func__, " ", "", level, __VA_ARGS__)
