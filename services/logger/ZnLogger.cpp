#include "ZnLogger.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>

#include "EscapeText.h"
#include "FormatText.h"
#include "LogOutput.h"
#include "LogSettings.h"

namespace {

struct State {
    explicit State(const LogSettings& settings)
        : threshold(settings.threshold), output(settings.file) {
        if (!settings.complaint.empty()) {
            output.WriteNote(settings.complaint);
        }
    }

    const int threshold;
    LogOutput output;  // guarded by `mutex`
};

std::mutex mutex;
std::atomic<State*> state;

// Keeps the logger usable in a child process forked while another thread writes a record.
[[maybe_unused]] const int forkHandlers =
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

// Returns the state, which is created at first use and never destroyed, so that destructors of
// other static objects may log. Null when there is no memory for it.
State* GetState() try {
    State* known = state.load(std::memory_order_acquire);
    if (known == nullptr) {
        const std::lock_guard<std::mutex> lock(mutex);
        known = state.load(std::memory_order_relaxed);
        if (known == nullptr) {
            known = new State(ReadLogSettings());
            state.store(known, std::memory_order_release);
        }
    }
    return known;
} catch (const std::exception&) {
    return nullptr;
}

// Restores errno.
class ErrnoKeeper {
   public:
    ErrnoKeeper() = default;
    ~ErrnoKeeper() {
        errno = error_;
    }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

   private:
    const int error_ = errno;
};

spdlog::level::level_enum SpdlogLevel(int severity) {
    switch (severity) {
        case LogLevelError:
            return spdlog::level::err;
        case LogLevelWarning:
            return spdlog::level::warn;
        case LogLevelInfo:
            return spdlog::level::info;
        default:
            return spdlog::level::debug;
    }
}

std::string_view OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// The name of a source file without its directories, which are those of the build machine.
std::string_view FileName(const char* path) {
    const std::string_view text = OrEmpty(path);
    return text.substr(text.rfind('/') + 1);
}

void AppendTag(std::string& line, const char* tag) {
    const std::string_view text = OrEmpty(tag);
    if (text.find_first_not_of(" \t\r\n\v\f") == std::string_view::npos) {
        return;
    }
    line += " [";
    AppendEscaped(line, text);
    line += ']';
}

}  // namespace

ZnLogger* ZnLogger::GetInstance() {
    static ZnLogger instance;
    const ErrnoKeeper errnoKeeper;
    GetState();
    return &instance;
}

void ZnLogger::Log(const char* file, int line, const char* function, const char* tag1,
                   const char* tag2, LogLevel level, const char* format, ...) {
    const ErrnoKeeper errnoKeeper;
    State* const current = GetState();
    const int severity = std::clamp(static_cast<int>(level), static_cast<int>(LogLevelError),
                                    static_cast<int>(LogLevelDebug));
    if (current == nullptr || severity > current->threshold) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = format != nullptr ? FormatText(format, arguments) : "";
        std::string record;
        AppendEscaped(record, FileName(file));
        record += ':' + std::to_string(line) + ' ';
        AppendEscaped(record, OrEmpty(function));
        AppendTag(record, tag1);
        AppendTag(record, tag2);
        record += ' ';
        AppendEscaped(record, text);
        const std::lock_guard<std::mutex> lock(mutex);
        current->output.Write(SpdlogLevel(severity), record);
    } catch (const std::exception&) {
        // Out of memory. Nothing else is caught: cancelling a thread must pass.
        const std::lock_guard<std::mutex> lock(mutex);
        current->output.CountLost();
    }
    va_end(arguments);
}
