#include "ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <stdexcept>

namespace {

constexpr int kCannotRun = 127;

void Redirect(int target, const std::string& file, int flags) {
    const int opened = open(file.c_str(), flags, 0600);
    if (opened < 0 || dup2(opened, target) < 0) {
        _exit(kCannotRun);
    }
    if (opened != target) {
        close(opened);
    }
}

void ApplyOptions(const ProcessOptions& options) {
    for (const auto& [name, value] : options.environment) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
    if (!options.directory.empty() && chdir(options.directory.c_str()) != 0) {
        _exit(kCannotRun);
    }
}

}  // namespace

void ReplaceProcess(const std::vector<std::string>& command) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(kCannotRun);
}

std::ostream& operator<<(std::ostream& out, const ProcessResult& result) {
    out << "exit code " << result.exitCode << ", signal " << result.signal;
    return out << "\n--- out\n" << result.out << "--- err\n" << result.err;
}

ChildProcess::ChildProcess(const std::function<void()>& body, const ProcessOptions& options)
    : outputFile_(options.outputFile.empty() ? files_ / "out" : options.outputFile) {
    WriteFile(files_ / "in", options.input);
    (void)std::fflush(nullptr);
    id_ = fork();
    if (id_ < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (id_ == 0) {
        Redirect(STDIN_FILENO, files_ / "in", O_RDONLY);
        Redirect(STDOUT_FILENO, outputFile_, O_WRONLY | O_CREAT | O_APPEND);
        Redirect(STDERR_FILENO, files_ / "err", O_WRONLY | O_CREAT | O_APPEND);
        ApplyOptions(options);
        body();
        std::exit(0);
    }
}

ChildProcess::ChildProcess(const std::vector<std::string>& command, const ProcessOptions& options)
    : ChildProcess([&] { ReplaceProcess(command); }, options) {}

ChildProcess::~ChildProcess() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
}

void ChildProcess::Send(int signal) const {
    if (id_ > 0) {  // other values would mean many processes
        kill(id_, signal);
    }
}

ProcessResult ChildProcess::Wait() {
    int status = 0;
    if (id_ <= 0 || waitpid(id_, &status, 0) != id_) {
        throw std::runtime_error("no process to wait for");
    }
    return Finish(status);
}

ProcessResult ChildProcess::Finish(int status) {
    id_ = -1;
    ProcessResult result;
    if (WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    } else {
        result.signal = WTERMSIG(status);
    }
    if (outputFile_ == files_ / "out") {
        result.out = ReadFile(outputFile_);
    }
    result.err = ReadFile(files_ / "err");
    return result;
}

ProcessResult RunInChild(const std::function<void()>& body, const ProcessOptions& options) {
    return ChildProcess(body, options).Wait();
}

ProcessResult RunProgram(const std::vector<std::string>& command, const ProcessOptions& options) {
    return ChildProcess(command, options).Wait();
}

std::string OutputOf(const std::string& shellCommand) {
    const ProcessResult result = RunProgram({"sh", "-c", shellCommand});
    if (!result.Succeeded()) {
        throw std::runtime_error("failed: " + shellCommand + "\n" + result.err);
    }
    return result.out;
}
