// The program that CrashSafetyTest runs under strace: one installation or one publication.
//   CrashSafetySubject install PACKAGE PLATFORM
//   CrashSafetySubject publish STORE ID FILE
// Exits with 0 on success, 1 on failure and 2 on wrong arguments. Calls of access() on the paths of
// CrashSafetyMarks.h enclose the work in the trace.
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "CrashSafetyMarks.h"
#include "PolicyStore.h"
#include "ZnVcUpdate.h"

static void Mark(const char* path) {
    [[maybe_unused]] const int result = access(path, F_OK);
}

static int Install(const std::string& package, const std::string& platform) {
    Mark(kWorkBegins);
    const int result = ZnVcUpdate::ExecuteInstallCommand(package, platform);
    Mark(kWorkEnds);
    return result == 0 ? 0 : 1;
}

static int Publish(const std::string& store, int id, const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string xml{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    Mark(kWorkBegins);
    int status = 0;
    try {
        PolicyStore(store).Publish(id, xml, file);
    } catch (const PolicyStore::Error&) {
        status = 1;
    }
    Mark(kWorkEnds);
    return status;
}

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 3 && args[0] == "install") {
        return Install(args[1], args[2]);
    }
    if (args.size() == 4 && args[0] == "publish") {
        const auto id = static_cast<int>(std::strtol(args[2].c_str(), nullptr, 10));
        return Publish(args[1], id, args[3]);
    }
    return 2;
}
