#include "InstallerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "FileDescriptor.h"
#include "Interrupt.h"
#include "Progress.h"
#include "SearchPath.h"

namespace {

// Finds the first error among log records, which are "<time> <level> <process> <source> <function>
// <text>", one a line.
class ErrorFinder {
   public:
    void Add(const char* data, size_t size) {
        pending_.append(data, size);
        size_t start = 0;
        for (size_t end = pending_.find('\n'); end != std::string::npos;
             end = pending_.find('\n', start)) {
            Take(pending_.substr(start, end - start));
            start = end + 1;
        }
        pending_.erase(0, start);
    }

    // The text of the error; "" when there is none.
    const std::string& Error() const {
        return error_;
    }

   private:
    void Take(const std::string& line) {
        constexpr size_t kWordsBeforeText = 5;
        std::istringstream words(line);
        std::string word;
        std::string level;
        for (size_t i = 0; i < kWordsBeforeText && words >> word; ++i) {
            level = i == 1 ? word : level;
        }
        if (level == "error" && error_.empty()) {
            std::getline(words >> std::ws, error_);
        }
    }

    std::string pending_;
    std::string error_;
};

// The log file of this process; "" when records go to standard error.
std::string LogFilePath() {
    const char* const path = std::getenv("ZN_LOG_FILE");
    return path != nullptr ? path : "";
}

// The size of a file; 0 when there is none.
off_t SizeOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

void Redirect(int target, int descriptor) {
    if (descriptor < 0 || dup2(descriptor, target) < 0) {
        _exit(EXIT_FAILURE);
    }
}

[[noreturn]] void InstallInChild(const std::function<bool()>& install, const RunLock& lock,
                                 int standardError) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    setsid();  // a session without a terminal: unzip asks for passwords there
    ResetInterruptHandlers();
    lock.ShareWithPrograms();
    Redirect(STDERR_FILENO, standardError);
    Redirect(STDIN_FILENO, open("/dev/null", O_RDONLY | O_CLOEXEC));
    Redirect(STDOUT_FILENO, open("/dev/null", O_WRONLY | O_CLOEXEC));
    setenv("PATH", StandardSearchPath().c_str(), 1);
    for (const char* name : {"UNZIP", "UNZIPOPT", "ZIPINFO", "ZIPINFOOPT"}) {
        unsetenv(name);
    }
    bool succeeded = false;
    try {
        succeeded = install();
    } catch (const std::exception& error) {
        dprintf(STDERR_FILENO, "znpolicy: %s\n", error.what());
    }
    _exit(succeeded ? EXIT_SUCCESS : EXIT_FAILURE);
}

void KillIfInterrupted(pid_t child) {
    if (PendingInterrupt() != 0) {
        kill(child, SIGKILL);  // in case it has no process group of its own yet
        kill(-child, SIGKILL);
    }
}

// Passes the output on until every process that holds it has ended, or the child has.
void PassOn(pid_t child, const FileDescriptor& output, ErrorFinder& errors) {
    constexpr int kTimeout = 1000;  // a signal may arrive just before poll() begins
    std::array<char, 4096> buffer;
    siginfo_t ended = {};
    while (ended.si_pid != child) {
        pollfd waiting = {output.Get(), POLLIN, 0};
        if (poll(&waiting, 1, kTimeout) > 0) {
            const ssize_t count = output.Read(buffer.data(), buffer.size());
            if (count <= 0) {
                return;
            }
            errors.Add(buffer.data(), static_cast<size_t>(count));
            (void)std::fwrite(buffer.data(), 1, static_cast<size_t>(count), stderr);
        } else {
            KillIfInterrupted(child);
            (void)waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT);
        }
    }
}

// Waits for the end of the child. If it was killed, ends its programs, too, which would go on
// writing. Returns its status as waitpid gives it.
int WaitFor(pid_t child, const FileDescriptor& output) {
    siginfo_t ended = {};
    while (waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT) != 0) {
        KillIfInterrupted(child);
    }
    if (ended.si_code != CLD_EXITED) {
        kill(-child, SIGKILL);
        std::array<char, 4096> ignored;
        while (output.Read(ignored.data(), ignored.size()) > 0) {  // until all have ended
        }
    }
    int status = 0;
    while (waitpid(child, &status, 0) != child) {
    }
    return status;
}

// Reads what was added to a log file since it had this size.
void ReadRest(const std::string& path, off_t size, ErrorFinder& errors) {
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    if (!file.IsOpen() || lseek(file.Get(), size, SEEK_SET) != size) {
        return;
    }
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = file.Read(buffer.data(), buffer.size())) > 0) {
        errors.Add(buffer.data(), static_cast<size_t>(count));
    }
}

}  // namespace

InstallerResult RunInstaller(const std::function<bool()>& install, const RunLock& lock) {
    const std::string logFile = LogFilePath();
    const off_t logSize = SizeOf(logFile);
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error(std::string("cannot create a pipe: ") + std::strerror(errno));
    }
    const FileDescriptor output(ends[0]);
    FileDescriptor input(ends[1]);
    fcntl(output.Get(), F_SETFD, FD_CLOEXEC);
    fcntl(input.Get(), F_SETFD, FD_CLOEXEC);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error(std::string("cannot start a process: ") + std::strerror(errno));
    }
    if (child == 0) {
        InstallInChild(install, lock, input.Get());
    }
    input.Close();
    const Progress progress("installing", 0);  // starts a thread, so not before fork()
    ErrorFinder errors;
    PassOn(child, output, errors);
    const int status = WaitFor(child, output);
    ReadRest(logFile, logSize, errors);
    InstallerResult result;
    result.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    result.reason = WIFSIGNALED(status)
                        ? "the installer was ended by signal " + std::to_string(WTERMSIG(status))
                        : errors.Error();
    return result;
}
