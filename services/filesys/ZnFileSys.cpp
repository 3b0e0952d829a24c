#include "ZnFileSys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>

#include "AtomicFile.h"
#include "DirectoryScan.h"
#include "FileDescriptor.h"

namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kNewFile = 0666;

// Whether `path` may be replaced: it is a file or a link, or does not exist. `old` receives its
// status; the mode is 0 when it does not exist.
bool IsReplaceable(const char* path, struct stat& old) {
    old = {};
    if (lstat(path, &old) != 0) {
        return errno == ENOENT;
    }
    return S_ISREG(old.st_mode) || S_ISLNK(old.st_mode);
}

bool CopyContents(const FileDescriptor& from, const FileDescriptor& to) {
    return from.ReadBlocks([&](const char* data, size_t size) {
        const auto length = static_cast<long long>(size);
        return to.Write(data, length) == length;
    });
}

bool WriteWhole(const char* path, const char* data, long long length) {
    struct stat old;
    if (!IsReplaceable(path, old)) {
        return false;
    }
    const bool keepMode = S_ISREG(old.st_mode);
    const mode_t mode = keepMode ? old.st_mode & kPermissions : kNewFile;
    AtomicFile file(path, mode);
    return file.IsOpen() && (!keepMode || file.SetMode(mode)) &&
           file.File().Write(data, length) == length && file.Commit();
}

bool CopyWhole(const char* source, const char* destination) {
    const FileDescriptor from = FileDescriptor::OpenRegularFile(source);
    struct stat status;
    struct stat old;
    if (!from.IsOpen() || fstat(from.Get(), &status) != 0 || !IsReplaceable(destination, old)) {
        return false;
    }
    const mode_t mode = status.st_mode & kPermissions;
    AtomicFile copy(destination, mode);
    return copy.IsOpen() && copy.SetMode(mode) && CopyContents(from, copy.File()) && copy.Commit();
}

long long Append(const char* path, const char* data, long long length) {
    FileDescriptor file =
        FileDescriptor::Open(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK, kNewFile);
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
    // Checked first, because some systems let the superuser unlink a directory.
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
    const bool complete = ScanDirectory(directory, files);
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
