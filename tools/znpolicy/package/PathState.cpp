#include "PathState.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "FileDescriptor.h"
#include "SyncToDisk.h"
#include "TemporaryFiles.h"
#include "ZnCrypto.h"

namespace {

constexpr mode_t kPermissions = 07777;

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

#ifdef __APPLE__
timespec ModificationTime(const struct stat& status) {
    return status.st_mtimespec;
}
timespec ChangeTime(const struct stat& status) {
    return status.st_ctimespec;
}
#else
timespec ModificationTime(const struct stat& status) {
    return status.st_mtim;
}
timespec ChangeTime(const struct stat& status) {
    return status.st_ctim;
}
#endif

bool IsSameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

PathState::Kind KindOf(mode_t mode) {
    switch (mode & S_IFMT) {
        case S_IFREG:
            return PathState::Kind::kFile;
        case S_IFLNK:
            return PathState::Kind::kLink;
        case S_IFDIR:
            return PathState::Kind::kDirectory;
        default:
            return PathState::Kind::kOther;
    }
}

std::string LinkTarget(const std::string& path) {
    std::array<char, PATH_MAX> target = {};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) {
        Fail("cannot read the link", path);
    }
    return {target.data(), static_cast<size_t>(length)};
}

// Copies contents, owner, permissions and modification time, and flushes the copy to stable
// storage.
void CopyFile(const std::string& from, const PathState& state, const std::string& to) {
    const FileDescriptor source = FileDescriptor::OpenRegularFile(from.c_str());
    if (!source.IsOpen()) {
        Fail("cannot read", from);
    }
    FileDescriptor copy = FileDescriptor::Open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    bool copied = copy.IsOpen();
    while (copied && (count = source.Read(buffer.data(), buffer.size())) > 0) {
        copied = copy.Write(buffer.data(), count) == count;
    }
    const std::array<timespec, 2> times = {state.modified, state.modified};
    // The owner can only be kept by those who may change it.
    (void)(copied && fchown(copy.Get(), state.owner, state.group) == 0);
    if (!copied || count < 0 || fchmod(copy.Get(), state.mode) != 0 ||
        futimens(copy.Get(), times.data()) != 0 || !SyncToDisk(copy.Get()) || !copy.Close()) {
        const int error = errno;
        unlink(to.c_str());
        errno = error;
        Fail("cannot copy " + from + " to", to);
    }
}

bool IsUntouched(const PathState& now, const PathState& before) {
    return IsSameFile(now, before) && IsSameTime(now.changed, before.changed);
}

bool HaveSameContents(const std::string& a, const std::string& b) {
    const std::string digest = ZnSha256::FileSha256Value(a);
    return !digest.empty() && digest == ZnSha256::FileSha256Value(b);
}

void RestoreFile(const std::string& path, const PathState& state, const std::string& copy) {
    const std::string temporary = TemporaryNameBeside(path);
    KeepFile(copy, state, temporary);
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(temporary.c_str());
        errno = error;
        Fail("cannot restore", path);
    }
}

void RestoreLink(const std::string& path, const PathState& state) {
    const std::string temporary = TemporaryNameBeside(path);
    if (symlink(state.target.c_str(), temporary.c_str()) != 0 ||
        std::rename(temporary.c_str(), path.c_str()) != 0) {
        Fail("cannot restore the link", path);
    }
}

void RestoreDirectory(const std::string& path, const PathState& state) {
    if (mkdir(path.c_str(), 0700) != 0) {
        Fail("cannot restore the directory", path);
    }
    // The owner can only be restored by those who may change it.
    [[maybe_unused]] const int ignored = chown(path.c_str(), state.owner, state.group);
    if (chmod(path.c_str(), state.mode) != 0) {
        Fail("cannot restore the permissions of", path);
    }
}

void RestoreAbsence(const std::string& path, const PathState& now) {
    if (now.kind == PathState::Kind::kDirectory) {
        if (rmdir(path.c_str()) != 0 && errno != ENOTEMPTY && errno != EEXIST) {
            Fail("cannot remove the directory", path);
        }
    } else if (unlink(path.c_str()) != 0) {
        Fail("cannot remove", path);
    }
}

}  // namespace

PathState PathState::Of(const std::string& path) {
    struct stat status = {};
    PathState state;
    if (lstat(path.c_str(), &status) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            Fail("cannot look at", path);
        }
        return state;
    }
    state.kind = KindOf(status.st_mode);
    state.mode = status.st_mode & kPermissions;
    state.owner = status.st_uid;
    state.group = status.st_gid;
    state.size = status.st_size;
    state.modified = ModificationTime(status);
    state.device = status.st_dev;
    state.inode = status.st_ino;
    state.changed = ChangeTime(status);
    if (state.kind == Kind::kLink) {
        state.target = LinkTarget(path);
    }
    return state;
}

bool PathState::operator==(const PathState& other) const {
    if (kind != other.kind || target != other.target) {
        return false;
    }
    // The size and times of directories and links say nothing about what a run changed.
    return kind != Kind::kFile ||
           (mode == other.mode && size == other.size && owner == other.owner &&
            group == other.group && IsSameTime(modified, other.modified));
}

bool IsSameFile(const PathState& a, const PathState& b) {
    return a.kind == b.kind && a.kind != PathState::Kind::kAbsent && a.device == b.device &&
           a.inode == b.inode;
}

bool IsUnchanged(const std::string& path, const PathState& state, const std::string& copy) {
    const PathState now = PathState::Of(path);
    if (now != state || state.kind != PathState::Kind::kFile) {
        return now == state;
    }
    return IsUntouched(now, state) || IsSameFile(now, PathState::Of(copy)) ||
           HaveSameContents(path, copy);
}

void KeepFile(const std::string& path, const PathState& state, const std::string& copy) {
    if (link(path.c_str(), copy.c_str()) == 0) {
        return;
    }
    if (errno != EXDEV && errno != EMLINK && errno != EPERM && errno != ENOTSUP &&
        errno != ENOSYS) {
        Fail("cannot keep", path);
    }
    CopyFile(path, state, copy);
}

void RestorePath(const std::string& path, const PathState& state, const std::string& copy) {
    const PathState now = PathState::Of(path);
    switch (state.kind) {
        case PathState::Kind::kAbsent:
            if (now.kind != PathState::Kind::kAbsent) {
                RestoreAbsence(path, now);
            }
            return;
        case PathState::Kind::kFile:
            if (!IsSameFile(now, PathState::Of(copy)) &&
                !(IsSameFile(now, state) && IsUnchanged(path, state, copy))) {
                RestoreFile(path, state, copy);
            }
            return;
        case PathState::Kind::kLink:
            if (now != state) {
                RestoreLink(path, state);
            }
            return;
        case PathState::Kind::kDirectory:
            if (now.kind == PathState::Kind::kAbsent) {
                RestoreDirectory(path, state);
            }
            return;
        case PathState::Kind::kOther:
            return;  // never changed by an installation
    }
}
