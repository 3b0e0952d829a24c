// Environment variables that override a default service.
#pragma once

#include <cstdlib>

#ifdef __APPLE__
#include <unistd.h>
#endif

// Returns the value of the environment variable `name`, or null when it is unset or empty, or when
// the process runs with raised privileges (set-user-ID, set-group-ID, file capabilities): whoever
// starts such a process must not choose its files. Thread-safe unless another thread calls setenv.
inline const char* GetOverride(const char* name) {
#ifdef __APPLE__
    const char* const value = issetugid() != 0 ? nullptr : getenv(name);
#else
    const char* const value = secure_getenv(name);
#endif
    return value != nullptr && *value != '\0' ? value : nullptr;
}
