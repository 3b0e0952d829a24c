// Running the library's installation in a process of its own.
#pragma once

#include <functional>
#include <string>

#include "RunLock.h"

struct InstallerResult {
    bool succeeded = false;
    // The first failure that the library logged, or how the process died; else "".
    std::string reason;
};

// Runs `install`, which returns whether it succeeded, in a child process without a terminal: with
// standard input and output on /dev/null, so that unzip can neither ask nor print; with the
// system's standard search path and without the variables that change unzip's options; holding
// `lock`, with all programs it starts, until the last of them has ended. What it writes to standard
// error is passed on.
//
// When the child is killed, its programs are ended, too. A signal noted by the present
// InterruptScope ends the child and all its programs at once; the caller checks for it. Throws
// std::runtime_error when no process can be started. The calling process must have a single thread.
InstallerResult RunInstaller(const std::function<bool()>& install, const RunLock& lock);
