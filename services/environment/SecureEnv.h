// The environment variables that override a default service.
#pragma once

#include <cstdlib>

#ifdef __APPLE__
#include <unistd.h>
#endif

// Returns the value of the environment variable `name`, or null when it is not set or the process
// runs with raised privileges (set-user-ID, set-group-ID, file capabilities): whoever started such
// a process must not choose its files. Safe from any thread that does not race with setenv.
inline const char* SecureGetEnv(const char* name) {
#ifdef __APPLE__
    return issetugid() != 0 ? nullptr : getenv(name);
#else
    return secure_getenv(name);
#endif
}
