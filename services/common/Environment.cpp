#include "Environment.h"

#include <unistd.h>
#ifdef __linux__
#include <sys/auxv.h>
#endif

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "QuietWrite.h"

namespace {

// Whether this is the first call for `name`.
bool IsFirstCallFor(const char* name) {
    static std::atomic<const char*> names[8];
    for (auto& slot : names) {
        const char* known = nullptr;
        if (slot.compare_exchange_strong(known, name)) {
            return true;
        }
        if (std::strcmp(known, name) == 0) {
            return false;
        }
    }
    return false;
}

void NoteIgnored(const char* name) {
    char note[128] = {};
    const int size = std::snprintf(note, sizeof note,
                                   "%s is ignored in a process with raised privileges\n", name);
    if (size > 0 && size < static_cast<int>(sizeof note)) {
        QuietWrite(STDERR_FILENO, note);
    }
}

}  // namespace

bool HasRaisedPrivileges() {
#ifdef __APPLE__
    return issetugid() != 0;
#else
    return getauxval(AT_SECURE) != 0;
#endif
}

const char* GetOverride(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') {
        return nullptr;
    }
    if (HasRaisedPrivileges()) {
        if (IsFirstCallFor(name)) {
            NoteIgnored(name);
        }
        return nullptr;
    }
    return value;
}
