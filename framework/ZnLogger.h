// Logging service of the framework (libZnLogger).
//
// The default library writes one line a record,
//
//     <time with offset> <level> <process>/<thread> <file>:<line> <function> [<tag>] <text>
//
// such as
//
//     2024-05-01T12:34:56.789+02:00 error 4711/4713 ZnVcInstall.cpp:84 InstallFile Failed:copy a b
//
// whatever the record's length. A character that could end the line, start another or change how it
// is shown (control characters, line separators, bytes that are not UTF-8) is written as an escape:
// \n, \r, \t, \xNN or \uNNNN. A record is handed to the system before Log returns.
//
// Two environment variables are read at the first call of GetInstance, and ignored in a process
// with raised privileges:
//   ZN_LOG_LEVEL  the least severe level that is written: error, warning, info, debug or its
//                 number, or off (0). Without it, or with any other value, info.
//   ZN_LOG_FILE   the file that records are appended to instead of standard error; its directory
//                 must exist. When it would grow beyond 10 MiB, it is renamed (name.log to
//                 name.1.log, that to name.2.log, up to 4) and begun anew; a link or anything that
//                 is no regular file is never renamed. A file belongs to one process at a time.
//                 Records that it does not take go to standard error, after a note that says why.
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
    //   file      source file of the caller as the compiler knows it (__FILE__); shown without its
    //             directories
    //   line      source line of the statement, from 1
    //   function  bare name of the calling function (__func__)
    //   tag1, tag2  free tags of the product; blank ones are not shown
    //   level     severity; a level that is not written costs next to nothing
    //   format    printf format for the arguments that follow; checked by the compiler
    // All strings are NUL-terminated, read during the call only, and stay the caller's; null counts
    // as "".
    // There is no result: a record that cannot be written is lost, and the caller goes on.
    // Never throws, raises no signal, and leaves errno as it was. Safe from any thread; records of
    // different threads are never mixed in a line.
    void Log(const char* file, int line, const char* function, const char* tag1, const char* tag2,
             LogLevel level, const char* format, ...) __attribute__((format(printf, 8, 9)));

    ZnLogger(const ZnLogger&) = delete;
    ZnLogger& operator=(const ZnLogger&) = delete;

   private:
    ZnLogger() = default;
    ~ZnLogger() = default;
};
