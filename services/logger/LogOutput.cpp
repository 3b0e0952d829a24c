#include "LogOutput.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>
#include <spdlog/pattern_formatter.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "EscapeText.h"
#include "LogTime.h"

namespace {

// Level, process/thread; the text contains the rest. The time is not formatted by spdlog, because
// that could hang in a forked process; see LogTime.h.
constexpr const char* kLinePattern = " %l %P/%t %v";

}  // namespace

LogOutput::LogOutput(const std::string& file)
    : path_(file), formatter_(std::make_unique<spdlog::pattern_formatter>(kLinePattern)) {
    if (!file.empty()) {
        file_.emplace(file);
    }
}

void LogOutput::Write(spdlog::level::level_enum level, std::string_view text) {
    if (lost_ > 0 && WriteLine(NoteLine("records lost: " + std::to_string(lost_)))) {
        lost_ = 0;
    }
    if (!WriteLine(Line(level, text))) {
        ++lost_;
    }
}

bool LogOutput::WriteNote(std::string_view text) {
    return WriteToStandardError(NoteLine(text));
}

bool LogOutput::WriteLine(const std::string& line) {
    return (file_ && WriteToFile(line)) || WriteToStandardError(line);
}

bool LogOutput::WriteToFile(const std::string& line) {
    const bool isWritten = file_->Append(line);
    NoteFileError(fileError_, isWritten ? 0 : errno,
                  "records go to standard error as long as it fails");
    NoteFileError(rotationError_, file_->RotationError(), "it cannot be rotated and grows");
    return isWritten;
}

bool LogOutput::WriteToStandardError(const std::string& line) {
    return standardError_.Write(STDERR_FILENO, line);
}

void LogOutput::NoteFileError(int& noted, int error, const char* consequence) {
    if (error != 0 && noted == 0 &&
        !WriteNote("log file " + path_ + ": " + std::generic_category().message(error) + "; " +
                   consequence)) {
        return;  // tried again with the next record
    }
    noted = error;
}

std::string LogOutput::Line(spdlog::level::level_enum level, std::string_view text) {
    spdlog::details::log_msg record("", level, spdlog::string_view_t(text.data(), text.size()));
    // spdlog caches the id of each thread, which changes when the process forks.
    record.thread_id = spdlog::details::os::_thread_id();
    spdlog::memory_buf_t line;
    formatter_->format(record, line);
    return FormatLogTime(record.time).append(line.data(), line.size());
}

std::string LogOutput::NoteLine(std::string_view text) {
    return Line(spdlog::level::warn, "libZnLogger: " + Escaped(text));
}
