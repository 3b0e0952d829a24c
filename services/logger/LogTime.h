// Times of log records.
#pragma once

#include <chrono>
#include <string>

// Returns `time` as local time: "2024-05-01T12:34:56.789+02:00". Safe from any thread, and in a
// child process that was forked while another thread used the C library's time functions: a child
// keeps the UTC offset that was found before the fork.
std::string FormatLogTime(std::chrono::system_clock::time_point time);

// The same with the UTC offset `offset`, in seconds. Times before 1970 are shown as its beginning.
std::string FormatLogTime(std::chrono::system_clock::time_point time, long offset);
