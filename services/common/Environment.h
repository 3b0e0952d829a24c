// Environment variables that override a default service.
#pragma once

// Whether the process runs with the privileges of its executable instead of those of the user who
// started it: set-user-ID, set-group-ID or file capabilities.
bool HasRaisedPrivileges();

// Returns the value of the environment variable `name`, a string literal, or null when it is unset
// or empty. Thread-safe unless another thread calls setenv.
//
// In a process with raised privileges the result is always null, because whoever starts such a
// process must not choose its files. A variable that is set nevertheless is noted on standard
// error, once per variable and library: each library that reads it notes it once.
const char* GetOverride(const char* name);
