#include "ZnFileSys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>

#include "Descriptor.h"
#include "FolderScan.h"
#include "Replacement.h"

namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kNewFile = 0666;

// Whether a file may be put at `path`: nothing is there, a file, or a link. `old` describes what is
// there; its mode is 0 when there is nothing.
bool IsReplaceable(const char* path, struct stat& old) {
    old = {};
    if (lstat(path, &old) != 0) {
        return errno == ENOENT;
    }
    return S_ISREG(old.st_mode) || S_ISLNK(old.st_mode);
}

bool SetPermissions(const Descriptor& file, mode_t mode) {
    return fchmod(file.Get(), mode & kPermissions) == 0;
}

bool CopyContents(const Descriptor& from, const Descriptor& to) {
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = from.Read(buffer.data(), buffer.size());
        if (count <= 0) {
            return count == 0;
        }
        if (to.Write(buffer.data(), count) != count) {
            return false;
        }
    }
}

bool WriteWhole(const char* path, const char* data, long long length) {
    struct stat old;
    if (!IsReplaceable(path, old)) {
        return false;
    }
    const bool keepMode = S_ISREG(old.st_mode);
    Replacement copy(path, keepMode ? old.st_mode & kPermissions : kNewFile);
    return copy.File().IsOpen() && (!keepMode || SetPermissions(copy.File(), old.st_mode)) &&
           copy.File().Write(data, length) == length && copy.Commit();
}

bool CopyWhole(const char* source, const char* destination) {
    // Without waiting, so that a pipe is refused and not waited for.
    const Descriptor from(open(source, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    struct stat old;
    if (!from.IsOpen() || fstat(from.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !IsReplaceable(destination, old)) {
        return false;
    }
    Replacement copy(destination, status.st_mode & kPermissions);
    return copy.File().IsOpen() && SetPermissions(copy.File(), status.st_mode) &&
           CopyContents(from, copy.File()) && copy.Commit();
}

long long Append(const char* path, const char* data, long long length) {
    Descriptor file(open(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, kNewFile));
    struct stat status;
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return -1;
    }
    const long long written = file.Write(data, length);
    return file.Close() ? written : -1;
}

}  // namespace

int ZnDir::ZnMkDir(const char* path, unsigned short mode) {
    return path != nullptr ? mkdir(path, mode & kPermissions) : -1;
}

int ZnFile::RemoveFile(const char* path) {
    // Looked at first, because some systems let the superuser unlink a directory.
    struct stat status;
    if (path == nullptr || lstat(path, &status) != 0 || S_ISDIR(status.st_mode)) {
        return -1;
    }
    return unlink(path);
}

long long ZnFile::WriteBinFile(const char* path, const char* data, long long length) try {
    if (length < 0) {
        return 0;
    }
    if (path == nullptr || (data == nullptr && length > 0)) {
        return -1;
    }
    return WriteWhole(path, data, length) ? length : -1;
} catch (const std::exception&) {
    return -1;
}

long long ZnFile::AppendWriteFile(const char* path, const char* data, long long length) {
    if (length < 0) {
        return 0;
    }
    if (path == nullptr || (data == nullptr && length > 0)) {
        return -1;
    }
    return Append(path, data, length);
}

int ZnFile::ScanDirectoriesFiles(std::string directory, std::vector<std::string>& files) try {
    files.clear();
    if (directory.empty() || directory.find('\0') != std::string::npos) {
        return -1;
    }
    if (directory.back() != '/') {
        directory += '/';
    }
    const bool complete = ScanFolder(directory, files);
    std::sort(files.begin(), files.end());
    return complete ? 0 : -1;
} catch (const std::exception&) {
    return -1;
}

long long ZnFile::FileSize(const char* path) {
    struct stat status;
    if (path == nullptr || stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return -1;
    }
    return status.st_size;
}

int ZnFile::ZnCopyFile(const char* source, const char* destination) try {
    if (source == nullptr || destination == nullptr) {
        return -1;
    }
    return CopyWhole(source, destination) ? 0 : -1;
} catch (const std::exception&) {
    return -1;
}
