// The lock that keeps installations into one root directory apart.
#pragma once

#include <string>

#include "FileDescriptor.h"

// Held from construction to destruction, and by child processes that inherit the descriptor: the
// kernel releases it when the last of them has ended, however it ends.
class RunLock {
   public:
    // Locks the file `path`, which is created when it is missing and may not be a link, waiting up
    // to `waitSeconds` for another process. Throws std::runtime_error, naming that process, when it
    // is still locked, and Interrupted when a signal asks to stop.
    RunLock(const std::string& path, int waitSeconds);

    // Lets programs that are executed from now on hold the lock as well.
    void ShareWithPrograms() const;

   private:
    FileDescriptor file_;
};
