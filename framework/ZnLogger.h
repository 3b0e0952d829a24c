// Logging service of the framework (libZnLogger).
#pragma once

#include "ZnExport.h"

// Severity of a record. Lower is more severe. libZnPolicy uses 1 and 3 only.
enum LogLevel {
    LogLevelError = 1,    // a failure or invalid input
    LogLevelWarning = 2,  // unexpected, but handled
    LogLevelInfo = 3,     // progress, information, a missing optional setting
    LogLevelDebug = 4,    // detail for the developer of a component
};

class ZN_API ZnLogger {
   public:
    // The process-wide logger. Never null, valid until the process ends, the same on every call.
    // Callers fetch it for each record and do not keep it. Safe from any thread.
    static ZnLogger* GetInstance();

    // Writes one record.
    //   file      source file of the caller as the compiler knows it (__FILE__)
    //   line      source line of the statement, from 1
    //   function  bare name of the calling function (__func__)
    //   tag1, tag2  free tags of the product; blank ones are not shown
    //   level     severity
    //   format    printf format for the arguments that follow; checked by the compiler
    // All strings are NUL-terminated, read during the call only, and stay the caller's.
    // There is no result: a record that cannot be written is lost, and the caller goes on.
    // Never throws. Safe from any thread; records of different threads are never mixed in a line.
    void Log(const char* file, int line, const char* function, const char* tag1, const char* tag2,
             LogLevel level, const char* format, ...) __attribute__((format(printf, 8, 9)));

    ZnLogger(const ZnLogger&) = delete;
    ZnLogger& operator=(const ZnLogger&) = delete;

   private:
    ZnLogger() = default;
    ~ZnLogger() = default;
};
