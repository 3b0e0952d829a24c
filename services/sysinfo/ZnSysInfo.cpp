#include "ZnSysInfo.h"

#include <filesystem>
#include <system_error>

#include "Environment.h"

#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <cstdint>
#endif

namespace {

namespace fs = std::filesystem;

std::string WithoutTrailingSeparators(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

// The path of the running executable, links resolved; empty when the system does not tell.
fs::path ExecutablePath() {
    std::error_code error;
#ifdef __APPLE__
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) {
        return {};
    }
    fs::path executable = fs::canonical(path.c_str(), error);
#else
    fs::path executable = fs::read_symlink("/proc/self/exe", error);
#endif
    return error || !executable.is_absolute() ? fs::path() : executable;
}

// The directory named by the environment; empty when it names none.
fs::path OverridingDirectory() {
    const char* const directory = GetOverride("ZN_PROCESS_DIRECTORY");
    if (directory == nullptr) {
        return {};
    }
    std::error_code error;
    fs::path absolute = fs::absolute(directory, error);
    return error ? fs::path() : absolute;
}

}  // namespace

std::string ZnSysInfo::GetCurrentProcessDirectory() {
    fs::path directory = OverridingDirectory();
    if (directory.empty()) {
        directory = ExecutablePath().parent_path();
    }
    return WithoutTrailingSeparators(directory.string());
}
