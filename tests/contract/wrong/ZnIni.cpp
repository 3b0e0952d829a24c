// Wrong: returns success when a key is missing.
#include "ZnIni.h"

int IniGetString(const char* /*section*/, const char* /*key*/, const char* /*defaultValue*/,
                 char* buffer, int bufferSize, const char* /*file*/) {
    if (bufferSize > 0) {
        buffer[0] = '\0';
    }
    return 0;
}

int IniGetInt(const char* /*section*/, const char* /*key*/, int defaultValue,
              const char* /*file*/) {
    return defaultValue;
}

int IniGetStringItems(const char* /*section*/, std::set<std::string>& keys, const char* /*file*/) {
    keys.clear();
    return 0;
}
