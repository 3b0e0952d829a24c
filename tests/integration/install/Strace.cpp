#include "Strace.h"

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "ChildProcess.h"
#include "CrashSafetyMarks.h"
#include "TemporaryDirectory.h"

// System calls that read, write, create or remove files; "?" marks those that some platforms lack.
static const char kCalls[] =
    "?open,?openat,?creat,?read,?pread64,?readv,?write,?pwrite64,?writev,?pwritev,?pwritev2,"
    "?sendfile,?copy_file_range,?splice,?truncate,?ftruncate,?fallocate,?rename,?renameat,"
    "?renameat2,?link,?linkat,?symlink,?symlinkat,?unlink,?unlinkat,?mkdir,?mkdirat,?rmdir,?chmod,"
    "?fchmod,?fchmodat,?fsync,?fdatasync,?sync_file_range,?syncfs,?msync,?mmap,?close";

static std::string Joined(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words) {
        joined += word + " ";
    }
    return joined;
}

Ending RunQuietly(const std::vector<std::string>& command) {
    // Log records are not part of the traced work.
    ProcessOptions options;
    options.environment["ZN_LOG_LEVEL"] = "off";
    const ProcessResult result = RunProgram(command, options);
    if (result.exitCode == 127) {
        throw std::runtime_error("cannot run " + command.front());
    }
    return result.signal != 0 ? Ending{true, result.signal} : Ending{false, result.exitCode};
}

// Runs the program under `strace`, which writes its trace to `output`.
static Ending Trace(const std::vector<std::string>& options, const std::string& output,
                    const std::vector<std::string>& command) {
    std::vector<std::string> strace = {"strace", "-f", "-qq", "-o", output};
    strace.insert(strace.end(), options.begin(), options.end());
    strace.insert(strace.end(), command.begin(), command.end());
    return RunQuietly(strace);
}

std::vector<CallSite> CallSitesOf(const std::vector<std::string>& command) {
    const TemporaryDirectory directory;
    const std::string output = directory / "trace";
    const std::string calls = std::string("trace=?access,?faccessat,?faccessat2,") + kCalls;
    const Ending ending = Trace({"-e", calls}, output, command);
    const std::string trace = std::filesystem::exists(output) ? ReadFile(output) : "";
    if (trace.find(kWorkBegins) == std::string::npos) {
        throw std::runtime_error(
            "strace cannot trace a program here: allow ptrace (in a container: "
            "--cap-add=SYS_PTRACE)");
    }
    if (ending.killed || ending.status != 0) {
        throw std::runtime_error("fails without any fault: " + Joined(command));
    }

    static const std::regex callLine(R"((\d+) +(\w+)\(.*)");
    std::map<std::string, int> count;
    std::set<std::string> processes;
    std::vector<CallSite> sites;
    bool atWork = false;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (!std::regex_match(line, parts, callLine)) {
            throw std::runtime_error("not understood in a trace: " + line);
        }
        processes.insert(parts[1]);
        const bool begins = line.find(kWorkBegins) != std::string::npos;
        const bool ends = line.find(kWorkEnds) != std::string::npos;
        const std::string call = parts[2];
        const int number = ++count[call];
        if (begins || ends) {
            atWork = begins;
        } else if (atWork && call.find("access") == std::string::npos) {
            sites.push_back({call, number});
        }
    }
    // strace numbers the calls of each thread by itself.
    if (processes.size() != 1) {
        throw std::runtime_error("has more than one thread: " + Joined(command));
    }
    return sites;
}

Ending RunWithFault(const std::vector<std::string>& command, const CallSite& site,
                    const std::string& fault) {
    const TemporaryDirectory directory;
    const std::string output = directory / "trace";
    const Ending ending =
        Trace({"-e", "trace=" + site.call, "-e",
               "inject=" + site.call + ":" + fault + ":when=" + std::to_string(site.number)},
              output, command);
    if (!ending.killed && ReadFile(output).find("(INJECTED)") == std::string::npos) {
        throw std::runtime_error("no call " + std::to_string(site.number) + " of " + site.call);
    }
    return ending;
}
