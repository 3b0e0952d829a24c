#include "RecordingLogger.h"

#include <cstdarg>
#include <cstdio>

static std::vector<Logged> g_records;
static std::vector<LogOrigin> g_origins;

bool operator==(const Logged& a, const Logged& b) {
    return a.level == b.level && a.function == b.function && a.text == b.text;
}

std::ostream& operator<<(std::ostream& out, const Logged& logged) {
    return out << logged.level << " " << logged.function << ": " << logged.text;
}

std::vector<Logged> RecordingLogger::Records() {
    return g_records;
}

std::vector<LogOrigin> RecordingLogger::Origins() {
    return g_origins;
}

void RecordingLogger::Clear() {
    g_records.clear();
    g_origins.clear();
}

ZnLogger* ZnLogger::GetInstance() {
    static ZnLogger logger;
    return &logger;
}

void ZnLogger::Log(const char* file, int line, const char* function, const char* tag1,
                   const char* tag2, LogLevel level, const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    text.pop_back();

    const std::string path = file;
    g_records.push_back({static_cast<int>(level), function, text});
    g_origins.push_back({path.substr(path.rfind('/') + 1), line, tag1, tag2, path});
}
