// Starting processes from tests: programs, or functions of the test itself.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"

// How a process ended, and what it wrote.
struct ProcessResult {
    int exitCode = -1;  // -1 when a signal ended it
    int signal = 0;     // the signal that ended it, or 0
    std::string out;
    std::string err;

    bool Succeeded() const {
        return exitCode == 0;
    }
};

std::ostream& operator<<(std::ostream& out, const ProcessResult& result);

struct ProcessOptions {
    std::string input;  // standard input

    // Variables to set, or to unset when there is no value; the rest is inherited.
    std::map<std::string, std::optional<std::string>> environment;

    std::string directory;   // working directory; "" for that of the test
    std::string outputFile;  // receives standard output instead of ProcessResult::out, unless ""
};

// A running child process, which is killed when the object is destroyed before Wait().
class ChildProcess {
   public:
    // Runs `body`, then exit(0), in a child of this process. Assertions do not count in it: what it
    // finds out, it prints or exits with.
    explicit ChildProcess(const std::function<void()>& body, const ProcessOptions& options = {});

    // Runs the program command[0], found on the search path, with the arguments that follow. The
    // exit code is 127 when it cannot be run.
    explicit ChildProcess(const std::vector<std::string>& command,
                          const ProcessOptions& options = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const {
        return id_;
    }

    void Send(int signal) const;

    // Waits for the end of the process.
    ProcessResult Wait();

    // The same for a process that somebody else, such as a tracer, has waited for with the result
    // `status` of waitpid.
    ProcessResult Finish(int status);

   private:
    TemporaryDirectory files_;
    std::string outputFile_;
    pid_t id_ = -1;  // -1 once it has ended
};

// Replaces this process by the program command[0], found on the search path; exits with 127 when it
// cannot be run.
[[noreturn]] void ReplaceProcess(const std::vector<std::string>& command);

// Runs a function or a program to its end.
ProcessResult RunInChild(const std::function<void()>& body, const ProcessOptions& options = {});
ProcessResult RunProgram(const std::vector<std::string>& command,
                         const ProcessOptions& options = {});

// Runs a shell command and returns what it writes to standard output; throws std::runtime_error
// when it fails.
std::string OutputOf(const std::string& shellCommand);
