// Where records go: a rotating file, or standard error.
#pragma once

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/sink.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

// Safe from any thread. What is written is handed to the system before a call returns, so that it
// outlives a crash of the process. Texts hold no line breaks. Only a lack of memory throws.
class LogOutput {
   public:
    // Records go to `file`, or to standard error when it is empty.
    explicit LogOutput(std::string file);

    // Writes one record in one line. What the file does not take goes to standard error, the first
    // of such records after a note that says why; each later record tries the file again.
    void Write(spdlog::level::level_enum level, std::string_view text);

    // Tells the person at standard error something about the logger itself.
    void WriteNote(std::string_view text);

   private:
    // Returns whether the file took the record. Both need the mutex.
    bool WriteToFile(const spdlog::details::log_msg& record);
    void LogNote(std::string_view text);

    const std::string file_;
    std::mutex mutex_;
    std::unique_ptr<spdlog::sinks::sink> fileSink_;  // null: not opened yet, or failed
    std::unique_ptr<spdlog::sinks::sink> standardError_;
    bool fileFails_ = false;
};
