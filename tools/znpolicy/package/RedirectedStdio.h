// RAII: redirects standard output to /dev/null.
#pragma once

#include "FileDescriptor.h"

// Keeps what unzip prints, which the library runs, out of a command's output. Standard error is
// not redirected.
class RedirectedStdout {
   public:
    RedirectedStdout();
    ~RedirectedStdout();
    RedirectedStdout(const RedirectedStdout&) = delete;
    RedirectedStdout& operator=(const RedirectedStdout&) = delete;

   private:
    FileDescriptor saved_;
};
