// RAII: redirects standard input and output to /dev/null.
#pragma once

#include "FileDescriptor.h"

// Keeps what unzip prints, which the library runs, out of a command's output, and keeps unzip from
// asking what to do when the disk is full. Standard error is not redirected.
class RedirectedStdio {
   public:
    RedirectedStdio();
    ~RedirectedStdio();
    RedirectedStdio(const RedirectedStdio&) = delete;
    RedirectedStdio& operator=(const RedirectedStdio&) = delete;

   private:
    FileDescriptor input_;  // the descriptors as they were
    FileDescriptor output_;
};
