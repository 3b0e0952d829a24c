// Running a program under `strace`, with or without a fault at one of its system calls.
#pragma once

#include <string>
#include <vector>

// How a traced program ended: its exit status, or the signal that killed it.
struct Ending {
    bool killed;
    int status;
};

// One call of one system call: the `number`th, from 1, that the program makes.
struct CallSite {
    std::string call;
    int number;
};

// Runs the program without log records. Throws when it cannot be run.
Ending RunQuietly(const std::vector<std::string>& command);

// The calls that the program makes between the marks of CrashSafetyMarks.h, out of those that could
// leave a file half-done. Throws a one-line explanation when `strace` cannot trace it, or the
// program does not exit with 0.
std::vector<CallSite> CallSitesOf(const std::vector<std::string>& command);

// Runs the program with `fault` at one of its calls: "signal=KILL" kills it just before the call,
// "error=NAME" makes the call fail without being made. Throws when the call did not come.
Ending RunWithFault(const std::vector<std::string>& command, const CallSite& site,
                    const std::string& fault);
