// Where records go: the log file, or standard error.
#pragma once

#include <spdlog/common.h>
#include <spdlog/formatter.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "LogFile.h"

// Writes records as lines of text. Not safe for concurrent use. A record is handed to the system
// before a call returns, so that it survives a crash of the process. No call waits for a reader or
// raises a signal; only running out of memory throws.
class LogOutput {
   public:
    // Records go to `file`, or to standard error when it is empty.
    explicit LogOutput(const std::string& file);

    // Writes one record as one line; `text` has no line breaks. A record that the file does not
    // take goes to standard error, the first one after a note that says why. Each record tries the
    // file again. Records that standard error does not take either are lost; their number is noted
    // before the next record that can be written.
    void Write(spdlog::level::level_enum level, std::string_view text);

    // Writes a note about the logger itself to standard error. Returns whether that succeeded.
    bool WriteNote(std::string_view text);

    // Counts a record that could not even be formatted.
    void CountLost() {
        ++lost_;
    }

   private:
    bool WriteLine(const std::string& line);
    bool WriteToFile(const std::string& line);
    bool WriteToStandardError(const std::string& line);

    // Notes an error of the log file once, until it is 0 again. `noted` is the one noted last.
    void NoteFileError(int& noted, int error, const char* consequence);

    std::string Line(spdlog::level::level_enum level, std::string_view text);
    std::string NoteLine(std::string_view text);

    const std::string path_;  // of the log file
    const std::unique_ptr<spdlog::formatter> formatter_;
    std::optional<LogFile> file_;
    LineWriter standardError_;
    int fileError_ = 0;
    int rotationError_ = 0;
    long long lost_ = 0;
};
