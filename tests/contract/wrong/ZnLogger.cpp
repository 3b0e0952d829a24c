// Wrong: every call returns another logger.
#include "ZnLogger.h"

ZnLogger* ZnLogger::GetInstance() {
    return new ZnLogger;
}

void ZnLogger::Log(const char* /*file*/, int /*line*/, const char* /*function*/,
                   const char* /*tag1*/, const char* /*tag2*/, LogLevel /*level*/,
                   const char* /*format*/, ...) {}
