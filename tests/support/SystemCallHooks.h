// Lets a test act as another thread or process right before or after a system call of the code
// under test. Needs SystemCallHooks.cpp in the test program; Linux only.
#pragma once

#include <functional>

// Each function is called once, at the next call.
struct SystemCallHooks {
    std::function<void()> beforeOpenat;
    std::function<void(int fd)> afterOpenat;
    std::function<void()> afterPoll;
};

extern SystemCallHooks systemCallHooks;

inline constexpr const char* kNoSystemCallHooks = "system calls are hooked on Linux only";
