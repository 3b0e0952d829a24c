#include "RedirectedStdout.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

RedirectedStdout::RedirectedStdout() : saved_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
    std::cout.flush();
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (saved_ >= 0 && nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
    }
    if (nowhere >= 0) {
        close(nowhere);
    }
}

RedirectedStdout::~RedirectedStdout() {
    if (saved_ >= 0) {
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
    }
}
