// Environment variables that override a default service.
#pragma once

// Returns the value of the environment variable `name`, a string literal, or null when it is unset
// or empty. Thread-safe unless another thread calls setenv.
//
// In a process with raised privileges (set-user-ID, set-group-ID, file capabilities) the result is
// always null, because whoever starts such a process must not choose its files. A variable that is
// set in spite of that is noted on standard error, once per variable.
const char* GetOverride(const char* name);
