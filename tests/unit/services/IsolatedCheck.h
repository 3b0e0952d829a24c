// Checks that need a process of their own, because they give up rights or mount file systems.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#ifdef __linux__
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#endif
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>
#include <string>

// What a child exits with when the system does not let it do what the test needs.
inline constexpr int kNotPossibleHere = 77;

// Runs `check` in a process of its own, which may give up rights or change its view of the system.
// Returns 0 when it returned true, 1 when false, 128 and more when it died, and otherwise the
// status that it exited with.
inline int InChild(const std::function<bool()>& check) {
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (child == 0) {
        _exit(check() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// What InChild() returned is success, or the system does not allow the test.
inline void ExpectHolds(int result) {
    if (result == kNotPossibleHere) {
        GTEST_SKIP() << "this system does not let the test change user or mount a file system";
    }
    EXPECT_EQ(result, 0);
}

// Makes this process one to which permissions apply. `directory` becomes accessible to it.
inline void BecomeOrdinaryUser(const std::string& directory) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0) {
        return;
    }
    if (chown(directory.c_str(), kNobody, kNobody) != 0 || setgroups(0, nullptr) != 0 ||
        setgid(kNobody) != 0 || setuid(kNobody) != 0) {
        _exit(kNotPossibleHere);
    }
}

#ifdef __linux__

inline bool WriteText(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    const bool written =
        fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (fd >= 0) {
        close(fd);
    }
    return written;
}

// Gives this process mounts of its own, with or without the rights of the superuser.
inline bool EnterPrivateMountNamespace() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (user == 0) {
        return unshare(CLONE_NEWNS) == 0;
    }
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteText("/proc/self/setgroups", "deny") &&
           WriteText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
           WriteText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

// Mounts a file system of this type on `directory`, for this process only.
inline void MountPrivately(const char* type, const std::string& directory, const char* options) {
    if (!EnterPrivateMountNamespace() ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", directory.c_str(), type, 0, options) != 0) {
        _exit(kNotPossibleHere);
    }
}

#endif
