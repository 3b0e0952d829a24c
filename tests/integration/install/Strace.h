// Runs a program under strace, with or without a fault at one of its system calls.
#pragma once

#include <string>
#include <vector>

// How a traced program ended: its exit status, or the signal that killed it.
struct Ending {
    bool killed;
    int status;
};

// The `number`th call, counted from 1, of a system call by the program.
struct CallSite {
    std::string call;
    int number;
};

// Runs the program without logging. Throws when it cannot be run.
Ending RunQuietly(const std::vector<std::string>& command);

// Returns the calls between the marks of CrashSafetyMarks.h that read or change files. Throws a
// one-line explanation when strace cannot trace the program or it does not exit with 0.
std::vector<CallSite> CallSitesOf(const std::vector<std::string>& command);

// Runs the program with `fault` at one of its calls: "signal=KILL" kills it just before the call,
// "error=NAME" makes it fail without being executed. Throws when the call was not reached.
Ending RunWithFault(const std::vector<std::string>& command, const CallSite& site,
                    const std::string& fault);
