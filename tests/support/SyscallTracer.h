// Runs a program with a fault at one of the system calls that it and all its children make. Linux
// on x86-64 only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ChildProcess.h"

// What happens at the system call `at`, counted from 1 over all processes of the program.
struct SyscallFault {
    enum class Kind {
        kNone,
        kKillAll,  // every process is killed before the call is made
        kFail,     // the call is not made and fails with `error`
        kSignal,   // the program, but none of its children, gets the signal `error`
    };
    Kind kind = Kind::kNone;
    uint64_t at = 0;
    int error = 0;  // or signal
};

struct TracedResult {
    ProcessResult program;
    uint64_t calls = 0;     // system calls made until the end, or until the fault
    bool happened = false;  // whether the fault came
    std::string call;       // the number of the system call that it hit
};

// Runs the program to its end, with all the processes that it starts. Calls that cannot fail (exit,
// return from a signal handler, wait for a lock, move the break) are counted but not made to fail.
// Throws std::runtime_error when this machine does not let the test trace a program.
TracedResult RunTraced(const std::vector<std::string>& command, const ProcessOptions& options,
                       const SyscallFault& fault);
