#include "LogOutput.h"

#include <fcntl.h>
#include <spdlog/details/os.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "EscapeText.h"
#include "SignalBlocker.h"

namespace {

using spdlog::details::log_msg;
using spdlog::sinks::sink;

// At most 50 MiB of records are kept: the file and four older ones, name.1.log to name.4.log.
constexpr size_t kMaxFileSize = size_t{10} * 1024 * 1024;
constexpr size_t kOlderFiles = 4;

// Time with offset, level, process/thread; the text holds the rest.
constexpr const char* kLinePattern = "%Y-%m-%dT%H:%M:%S.%e%z %l %P/%t %v";

std::unique_ptr<spdlog::formatter> LineFormatter() {
    return std::make_unique<spdlog::pattern_formatter>(kLinePattern);
}

log_msg MakeRecord(spdlog::level::level_enum level, std::string_view text) {
    log_msg record("", level, spdlog::string_view_t(text.data(), text.size()));
    // spdlog remembers the id it saw first, which is that of another thread after a fork.
    record.thread_id = spdlog::details::os::_thread_id();
    return record;
}

// Commands that the process runs have no business with the log.
void CloseOnExec(const std::string& /*name*/, std::FILE* file) {
    fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
}

spdlog::file_event_handlers FileHandlers() {
    spdlog::file_event_handlers handlers;
    handlers.after_open = CloseOnExec;
    return handlers;
}

// Whether the last line of `path` was left unfinished: by a full disk, or by a process that died.
bool EndsInsideALine(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return false;
    }
    char last = '\n';
    const bool hasBytes = lseek(file, -1, SEEK_END) >= 0 && read(file, &last, 1) == 1;
    close(file);
    return hasBytes && last != '\n';
}

// Makes sure that `path` can be written to, and that its next byte starts a line. spdlog itself
// would create missing directories, retry with pauses, and wait for the reader of a pipe.
void PrepareFile(const std::string& path) {
    const int file =
        open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (file < 0) {
        throw spdlog::spdlog_ex("Failed opening it", errno);
    }
    struct stat status = {};
    const bool regular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    const bool written = !regular || !EndsInsideALine(path) || write(file, "\n", 1) == 1;
    const int error = errno;
    close(file);
    if (!written) {
        throw spdlog::spdlog_ex("Failed writing to it", error);
    }
}

// Only a file that stands there itself is renamed to make room: whoever gave a device, a pipe or a
// link (such as /dev/stderr) wants it left in its place.
bool MayRotate(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::unique_ptr<sink> OpenFile(const std::string& path) {
    PrepareFile(path);
    std::unique_ptr<sink> file;
    if (MayRotate(path)) {
        file = std::make_unique<spdlog::sinks::rotating_file_sink_st>(
            path, kMaxFileSize, kOlderFiles, false, FileHandlers());
    } else {
        file = std::make_unique<spdlog::sinks::basic_file_sink_st>(path, false, FileHandlers());
    }
    file->set_formatter(LineFormatter());
    return file;
}

}  // namespace

LogOutput::LogOutput(std::string file)
    : file_(std::move(file)), standardError_(std::make_unique<spdlog::sinks::stderr_sink_st>()) {
    standardError_->set_formatter(LineFormatter());
}

void LogOutput::Write(spdlog::level::level_enum level, std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const SignalBlocker signalBlocker;
    const log_msg record = MakeRecord(level, text);  // here, so that times stand in order
    if (file_.empty() || !WriteToFile(record)) {
        standardError_->log(record);
    }
}

void LogOutput::WriteNote(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const SignalBlocker signalBlocker;
    LogNote(text);
}

bool LogOutput::WriteToFile(const log_msg& record) {
    try {
        if (!fileSink_) {
            fileSink_ = OpenFile(file_);
        }
        fileSink_->log(record);
        fileSink_->flush();
        fileFails_ = false;
        return true;
    } catch (const std::exception& failure) {
        // The sink may not be used again: after a failed rotation it has no open file.
        fileSink_.reset();
        if (!fileFails_) {
            LogNote("log file " + file_ + ": " + failure.what() +
                    "; records go to standard error as long as it fails");
        }
        fileFails_ = true;
        return false;
    }
}

void LogOutput::LogNote(std::string_view text) {
    std::string line = "libZnLogger: ";
    AppendEscaped(line, text);
    standardError_->log(MakeRecord(spdlog::level::warn, line));
}
