#include "RedirectedStdio.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

// Points `target` to /dev/null. Returns a copy of what it was.
static FileDescriptor Redirect(int target, int mode) {
    FileDescriptor saved(fcntl(target, F_DUPFD_CLOEXEC, 3));
    const FileDescriptor nowhere = FileDescriptor::Open("/dev/null", mode);
    if (saved.IsOpen() && nowhere.IsOpen()) {
        dup2(nowhere.Get(), target);
    }
    return saved;
}

static void Restore(int target, const FileDescriptor& saved) {
    if (saved.IsOpen()) {
        dup2(saved.Get(), target);
    }
}

RedirectedStdio::RedirectedStdio() {
    std::cout.flush();
    input_ = Redirect(STDIN_FILENO, O_RDONLY);
    output_ = Redirect(STDOUT_FILENO, O_WRONLY);
}

RedirectedStdio::~RedirectedStdio() {
    std::cout.flush();
    Restore(STDIN_FILENO, input_);
    Restore(STDOUT_FILENO, output_);
}
