// Runs code in a process of its own, for what a process does once: read its environment, exit, die.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>

#include "TemporaryDirectory.h"

struct Outcome {
    int status;  // as waitpid gives it
    std::string out;
    std::string err;
};

inline bool Succeeded(const Outcome& outcome) {
    return WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0;
}

// Runs `body` and then exit(0) in a child of this process, with standard output and standard error
// going to files. Assertions do not count in it; what it finds out, it prints or exits with.
inline Outcome RunInChild(const std::function<void()>& body) {
    const TemporaryDirectory directory;
    const std::string out = directory / "out";
    const std::string err = directory / "err";
    (void)fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (child == 0) {
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
        body();
        exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {status, ReadFile(out), ReadFile(err)};
}
