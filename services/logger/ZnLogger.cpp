#include "ZnLogger.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <exception>
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
    LogOutput output;
};

// Made at first use and never destroyed, so that destructors of other static objects may log.
State& TheState() {
    static auto* const state = new State(ReadLogSettings());
    return *state;
}

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

// The name of a source file without its directories, which are those of a build machine.
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
    TheState();
    return &instance;
}

void ZnLogger::Log(const char* file, int line, const char* function, const char* tag1,
                   const char* tag2, LogLevel level, const char* format, ...) {
    State& state = TheState();
    const int severity = std::clamp(static_cast<int>(level), static_cast<int>(LogLevelError),
                                    static_cast<int>(LogLevelDebug));
    if (severity > state.threshold) {
        return;
    }
    const int errorOfCaller = errno;
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
        state.output.Write(SpdlogLevel(severity), record);
    } catch (const std::exception&) {
        // Out of memory: the record is lost, and the caller goes on. Nothing wider is caught, for
        // the cancelling of a thread has to pass.
    }
    va_end(arguments);
    errno = errorOfCaller;
}
