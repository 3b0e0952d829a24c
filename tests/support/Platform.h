// What tests assume about the operating system.
#pragma once

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/syscall.h>
#endif

#include <cstdint>
#include <string>

#ifdef __linux__
inline constexpr bool kLinux = true;
#else
inline constexpr bool kLinux = false;
#endif

// Whether the thread sanitizer watches this program. It reports threads that use the same file
// descriptor number for different files, which some tests do on purpose.
#ifdef __SANITIZE_THREAD__
inline constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif
#else
inline constexpr bool kThreadSanitizer = false;
#endif
inline constexpr const char* kNoDescriptorRaces =
    "the thread sanitizer does not allow a race for closed descriptors";

// The user and group that own nothing.
inline constexpr uid_t kNobody = 65534;

// The file name suffix of shared libraries.
inline std::string SharedLibrarySuffix() {
    return kLinux ? ".so" : ".dylib";
}

// The directory that lists the open descriptors of the process.
inline std::string DescriptorDirectory() {
    return kLinux ? "/proc/self/fd" : "/dev/fd";
}

// The largest amount of memory that the process has used so far.
inline long long PeakMemoryBytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * (kLinux ? 1024LL : 1LL);
}

// The id of the calling thread, as the system's tools show it.
inline std::uint64_t CurrentThreadId() {
#ifdef __linux__
    return static_cast<std::uint64_t>(syscall(SYS_gettid));
#else
    std::uint64_t id = 0;
    pthread_threadid_np(nullptr, &id);
    return id;
#endif
}
