#include "PrivateMounts.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

static bool g_entered = false;

[[noreturn]] static void GiveUp(const char* step) {
    const int error = errno;
    std::fprintf(stderr,
                 "%s: %s; this test writes the fixed paths below /usr/local in a mount namespace "
                 "of its own: run it as root (in a container: --privileged), or allow user "
                 "namespaces with: sysctl kernel.unprivileged_userns_clone=1\n",
                 step, std::strerror(error));
    std::exit(1);
}

// Maps a user or group to itself in the new user namespace, so that file permissions stay the same.
static bool MapToItself(const char* map, unsigned int id) {
    std::ofstream out(map);
    out << id << " " << id << " 1" << std::flush;
    return out.good();
}

// Other users than root need a user namespace.
static bool UnshareMounts() {
    const unsigned int user = geteuid();
    const unsigned int group = getegid();
    if (unshare(CLONE_NEWNS) == 0) {
        return true;
    }
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    // Mapping the group requires giving up setgroups.
    std::ofstream("/proc/self/setgroups") << "deny";
    return MapToItself("/proc/self/uid_map", user) && MapToItself("/proc/self/gid_map", group);
}

static void MountEmpty() {
    if (mount("tmpfs", "/usr/local", "tmpfs", 0, "mode=755") != 0) {
        GiveUp("cannot mount a tmpfs on /usr/local");
    }
}

void EnterPrivateMounts() {
    if (!UnshareMounts()) {
        GiveUp("cannot make a mount namespace");
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GiveUp("cannot make the mounts private");
    }
    MountEmpty();
    g_entered = true;
}

void EmptyPrivateMounts() {
    if (!g_entered) {
        errno = EPERM;
        GiveUp("not in a mount namespace");
    }
    MountEmpty();
}
