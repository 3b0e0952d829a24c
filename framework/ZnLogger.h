// Logging service of the framework (libZnLogger).
//
// The default library writes each record as one line,
//
//     <time with offset> <level> <process>/<thread> <file>:<line> <function> [<tag>] <text>
//
// such as
//
//     2024-05-01T12:34:56.789+02:00 error 4711/4713 ZnVcInstall.cpp:84 InstallFile Failed:copy a b
//
// Times are local; a forked process keeps the UTC offset of its parent.
//
// A character that could end the line, start another one or change how it is displayed (control
// characters, line separators, bytes that are not UTF-8) is escaped as `\n`, `\r`, `\t`, `\xNN` or
// `\uNNNN`. A record is handed to the system before Log returns.
//
// Two environment variables are read on the first call. In a process with raised privileges they
// are ignored, with one note on standard error each.
//   ZN_LOG_LEVEL  the least severe level that is written: error, warning, info (the default), debug
//                 or its number, or off (0).
//   ZN_LOG_FILE   the file that records are appended to instead of standard error; its directory
//                 must exist. It may be a FIFO or a device. A regular file that would grow beyond
//                 10 MiB is renamed (name.log to name.1.log, that to name.2.log, up to 4) and begun
//                 anew; when that fails, the file grows, a note says so, and the oldest file may
//                 stay as name.5.log until the next rotation. A link is never renamed. A file
//                 belongs to one process at a time.
//
// A record that the file does not take goes to standard error, after a note that says why. Log
// never waits for the reader of a pipe or terminal: when standard error does not take a record
// either, the record is lost, and the number of lost records is noted as soon as one can be written
// again. A record larger than the room in a pipe is cut and counts as lost; the next one starts on
// a new line.
#pragma once

#include "ZnExport.h"

// Severity of a record. Lower is more severe. libZnPolicy uses 1 and 3 only.
enum LogLevel {
    LogLevelError = 1,    // a failure or invalid input
    LogLevelWarning = 2,  // unexpected, but handled
    LogLevelInfo = 3,     // progress, information, a missing optional setting
    LogLevelDebug = 4,    // detail for the developer of a component
};

// The logger of the process; it belongs to the library.
class ZN_API ZnLogger {
   public:
    // Returns the process-wide logger: never null, valid until the process ends, the same on every
    // call. Callers fetch it for each record and do not keep it. Never throws and keeps errno. Safe
    // from any thread.
    static ZnLogger* GetInstance();

    // Writes one record.
    //   file      source file of the caller (__FILE__); shown without its directories
    //   line      source line of the statement, from 1
    //   function  bare name of the calling function (__func__)
    //   tag1, tag2  free tags of the product; blank ones are not shown
    //   level     severity; a record that is filtered out costs next to nothing
    //   format    printf format for the arguments that follow; checked by the compiler
    // All strings are NUL-terminated and read only during the call; null counts as "".
    // Never throws, never waits for a reader, raises no signal and keeps errno. Safe from any
    // thread, and in a child process that was forked while other threads log; records are never
    // mixed within a line.
    void Log(const char* file, int line, const char* function, const char* tag1, const char* tag2,
             LogLevel level, const char* format, ...) __attribute__((format(printf, 8, 9)));

    // There is one logger.
    ZnLogger(const ZnLogger&) = delete;
    ZnLogger& operator=(const ZnLogger&) = delete;

   private:
    ZnLogger() = default;
    ~ZnLogger() = default;
};
