#include "SyscallTracer.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <set>
#include <stdexcept>

namespace {

constexpr int kSyscallStop = SIGTRAP | 0x80;
constexpr long kNoSyscall = -1;

// Calls ptrace, whose address argument is a number for every request used here.
template <typename Data>
long Ptrace(__ptrace_request request, pid_t process, uint64_t address, Data data) {
    return ptrace(request, process, address, data);
}

bool CanFail(long call) {
    return call != SYS_exit && call != SYS_exit_group && call != SYS_rt_sigreturn &&
           call != SYS_futex && call != SYS_brk;
}

class Tracer {
   public:
    Tracer(pid_t program, const SyscallFault& fault) : program_(program), fault_(fault) {}

    // Follows all processes until none is left. Returns the status of the program.
    int Run() {
        int status = 0;
        if (waitpid(program_, &status, __WALL) != program_ || !WIFSTOPPED(status) ||
            Ptrace(PTRACE_SETOPTIONS, program_, 0,
                   PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                       PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL) != 0) {
            throw std::runtime_error("cannot trace a program here: allow ptrace");
        }
        processes_.insert(program_);
        Continue(program_, 0);
        int result = 0;
        pid_t process = 0;
        while ((process = waitpid(-1, &status, __WALL)) > 0) {
            if (WIFEXITED(status) || WIFSIGNALED(status)) {
                processes_.erase(process);
                result = process == program_ ? status : result;
            } else {
                HandleStop(process, status);
            }
        }
        return result;
    }

    uint64_t Calls() const {
        return calls_;
    }
    bool Happened() const {
        return happened_;
    }
    long HitCall() const {
        return hitCall_;
    }

   private:
    static void Continue(pid_t process, int signal) {
        Ptrace(PTRACE_SYSCALL, process, 0, signal);
    }

    void HandleStop(pid_t process, int status) {
        const bool isNew = processes_.insert(process).second;
        const int signal = WSTOPSIG(status);
        if (happened_ && fault_.kind == SyscallFault::Kind::kKillAll) {
            kill(process, SIGKILL);  // it had just been forked
        } else if (signal == kSyscallStop) {
            HandleCall(process);
        } else if (status >> 16 != 0 || (isNew && signal == SIGSTOP)) {
            Continue(process, 0);  // a fork, an exec, or the first stop of a new process
        } else {
            Continue(process, signal);
        }
    }

    void HandleCall(pid_t process) {
        __ptrace_syscall_info info = {};
        if (Ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) <= 0) {
            return;  // it has just been killed
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            ++calls_;
            if (calls_ == fault_.at && fault_.kind != SyscallFault::Kind::kNone) {
                hitCall_ = static_cast<long>(info.entry.nr);
                Hit(process);
            }
        } else if (failing_.erase(process) != 0) {
            SetRegisters(process, [this](user_regs_struct& registers) {
                registers.rax = static_cast<unsigned long long>(-fault_.error);
            });
        }
        Continue(process, 0);
    }

    void Hit(pid_t process) {
        if (fault_.kind == SyscallFault::Kind::kKillAll) {
            happened_ = true;
            for (const pid_t each : processes_) {
                kill(each, SIGKILL);
            }
        } else if (fault_.kind == SyscallFault::Kind::kSignal) {
            happened_ = true;
            kill(program_, fault_.error);
        } else if (CanFail(hitCall_)) {
            happened_ = true;
            failing_.insert(process);
            SetRegisters(process, [](user_regs_struct& registers) {
                registers.orig_rax = static_cast<unsigned long long>(kNoSyscall);
            });
        }
    }

    template <typename Change>
    static void SetRegisters(pid_t process, Change change) {
        user_regs_struct registers = {};
        if (Ptrace(PTRACE_GETREGS, process, 0, &registers) == 0) {
            change(registers);
            Ptrace(PTRACE_SETREGS, process, 0, &registers);
        }
    }

    const pid_t program_;
    const SyscallFault fault_;
    std::set<pid_t> processes_;
    std::set<pid_t> failing_;  // in a call that is not made
    uint64_t calls_ = 0;
    long hitCall_ = 0;
    bool happened_ = false;
};

}  // namespace

TracedResult RunTraced(const std::vector<std::string>& command, const ProcessOptions& options,
                       const SyscallFault& fault) {
    ChildProcess program(
        [&] {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            ReplaceProcess(command);
        },
        options);
    Tracer tracer(program.Id(), fault);
    const int status = tracer.Run();
    TracedResult result;
    result.program = program.Finish(status);
    result.calls = tracer.Calls();
    result.happened = tracer.Happened();
    result.call = std::to_string(tracer.HitCall());
    return result;
}
