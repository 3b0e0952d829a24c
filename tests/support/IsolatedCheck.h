// Checks that need a process of their own, because they give up privileges, mount file systems,
// change limits or could hang.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#ifdef __linux__
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#endif
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>

#include "ChildProcess.h"
#include "Platform.h"
#include "TemporaryDirectory.h"

// Exit code of a check that this system does not allow; the reason is on standard error.
inline constexpr int kNotPossibleHere = 77;

// Runs `check` in a child process, which exits with 0 when it returned true. A check that hangs is
// killed after a minute.
inline ProcessResult InChild(const std::function<bool()>& check,
                             const ProcessOptions& options = {}) {
    return RunInChild(
        [&] {
            alarm(60);
            std::exit(check() ? 0 : 1);
        },
        options);
}

// Expects that InChild() succeeded; skips the test when the system did not allow the check.
inline void ExpectHolds(const ProcessResult& result) {
    if (result.exitCode == kNotPossibleHere) {
        GTEST_SKIP() << result.err;
    }
    EXPECT_TRUE(result.Succeeded()) << result;
}

// Ends the check because the system does not allow `step`.
[[noreturn]] inline void NotPossibleHere(const std::string& step) {
    std::cerr << "cannot " << step << " here: " << std::strerror(errno) << '\n';
    std::exit(kNotPossibleHere);
}

// Gives up the privileges of the superuser, to whom permissions do not apply. `directory` becomes
// accessible to the new user.
inline void BecomeOrdinaryUser(const std::string& directory) {
    if (geteuid() != 0) {
        return;
    }
    if (chown(directory.c_str(), kNobody, kNobody) != 0 || setgroups(0, nullptr) != 0 ||
        setgid(kNobody) != 0 || setuid(kNobody) != 0) {
        NotPossibleHere("become an ordinary user");
    }
}

#ifdef __linux__

// Gives this process mounts of its own, as the superuser or in a user namespace.
inline bool EnterPrivateMountNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (geteuid() == 0) {
        return unshare(CLONE_NEWNS) == 0;
    }
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/uid_map", "0 " + user + " 1");
    WriteFile("/proc/self/gid_map", "0 " + group + " 1");
    return true;
}

inline bool MountPrivately(const char* source, const char* target, const char* type,
                           unsigned long flags, const char* options) {
    return EnterPrivateMountNamespace() &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(source, target, type, flags, options) == 0;
}

#endif

// Mounts a file system of this type on `directory`, for this process only.
inline void MountPrivately(const char* type, const std::string& directory, const char* options) {
#ifdef __linux__
    if (MountPrivately("none", directory.c_str(), type, 0, options)) {
        return;
    }
#endif
    NotPossibleHere("mount a " + std::string(type) + " with " + options + " on " + directory);
}

// Makes the file `path` a mount point, which cannot be renamed, for this process only.
inline void MountFilePrivately(const std::string& path) {
#ifdef __linux__
    if (MountPrivately(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr)) {
        return;
    }
#endif
    NotPossibleHere("mount the file " + path);
}
