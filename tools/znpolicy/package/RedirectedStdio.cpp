#include "RedirectedStdout.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

RedirectedStdout::RedirectedStdout() : saved_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
    std::cout.flush();
    const FileDescriptor nowhere = FileDescriptor::Open("/dev/null", O_WRONLY);
    if (saved_.IsOpen() && nowhere.IsOpen()) {
        dup2(nowhere.Get(), STDOUT_FILENO);
    }
}

RedirectedStdout::~RedirectedStdout() {
    if (saved_.IsOpen()) {
        std::cout.flush();
        dup2(saved_.Get(), STDOUT_FILENO);
    }
}
