#include "ZnSysInfo.h"

#include <exception>
#include <filesystem>
#include <system_error>

#include "Environment.h"

#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <cstdint>
#else
#include <sys/auxv.h>
#endif

namespace {

namespace fs = std::filesystem;

std::string WithoutTrailingSeparators(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

// `path` as an absolute path with links resolved; empty when that is not possible.
fs::path Resolved(const char* path) {
    std::error_code error;
    fs::path resolved = fs::canonical(path != nullptr ? path : "", error);
    return error ? fs::path() : resolved;
}

// The path of the running executable with links resolved; empty when it is unknown.
#ifdef __APPLE__
fs::path FindExecutable() {
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    return _NSGetExecutablePath(path.data(), &size) == 0 ? Resolved(path.c_str()) : fs::path();
}
#else
fs::path FindExecutable() {
    std::error_code error;
    fs::path path = fs::read_symlink("/proc/self/exe", error);
    if (error) {  // /proc is not mounted
        // NOLINTNEXTLINE(performance-no-int-to-ptr): getauxval() returns pointers as integers
        path = Resolved(reinterpret_cast<const char*>(getauxval(AT_EXECFN)));
    }
    return path.is_absolute() ? path : fs::path();
}
#endif

// Never destroyed, because other libraries may still ask while the process ends.
const fs::path& ExecutablePath() {
    static const fs::path& path = *new fs::path(FindExecutable());
    return path;
}

// Finds the executable when the library is loaded: later, the program may have changed its working
// directory, and a relative path would lead elsewhere.
[[maybe_unused]] const bool isFoundAtStart = []() noexcept {
    try {
        return !ExecutablePath().empty();
    } catch (const std::exception&) {
        return false;  // out of memory; tried again later
    }
}();

// The directory that the environment chooses; empty when it chooses none.
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

std::string ZnSysInfo::GetCurrentProcessDirectory() try {
    fs::path directory = OverridingDirectory();
    if (directory.empty()) {
        directory = ExecutablePath().parent_path();
    }
    return WithoutTrailingSeparators(directory.string());
} catch (const std::exception&) {
    return "";
}
