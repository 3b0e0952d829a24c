// Writes records as a product might want them: one line each on standard error, "product:" before
// it. Unlike the default library, it neither filters nor escapes anything.
#include <ZnLogger.h>

#include <cstdarg>
#include <cstdio>

ZnLogger* ZnLogger::GetInstance() {
    static ZnLogger logger;
    return &logger;
}

void ZnLogger::Log(const char* /*file*/, int /*line*/, const char* function, const char* /*tag1*/,
                   const char* /*tag2*/, LogLevel level, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "product: level %d, %s: %s\n", level, function, text);
}
