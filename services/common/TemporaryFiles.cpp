#include "TemporaryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <functional>

#include "Directory.h"

namespace {

constexpr std::string_view kPrefix = ".zn-";
constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kRandomBytes = 8;

// `path` up to and with the last separator; "" when there is none.
std::string DirectoryPrefix(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

// Whether `name` in `directory` is the regular file open as `file`.
bool Names(int directory, const char* name, const FileDescriptor& file) {
    struct stat named = {};
    struct stat open = {};
    return fstatat(directory, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           fstat(file.Get(), &open) == 0 && S_ISREG(open.st_mode) && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

void RemoveIfAbandoned(int directory, const char* name) {
    const auto file =
        FileDescriptor::OpenAt(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0 &&
        Names(directory, name, file)) {
        unlinkat(directory, name, 0);
    }
}

// Returns the number of entries in the directory.
long RemoveAbandonedFiles(const std::string& path) {
    const Directory directory =
        ReadDirectory(FileDescriptor::Open(path.c_str(), O_RDONLY | O_DIRECTORY));
    long entries = 0;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        ++entries;
        if (IsTemporaryName(entry->d_name)) {
            RemoveIfAbandoned(dirfd(directory.get()), entry->d_name);
        }
    }
    return entries;
}

}  // namespace

std::string TemporaryNameBeside(const std::string& path) {
    unsigned char random[kRandomBytes] = {};
    // Without entropy the name is predictable; creating it exclusively is still safe.
    [[maybe_unused]] const int status = getentropy(random, sizeof random);
    std::string name = DirectoryPrefix(path).append(kPrefix);
    for (const unsigned char byte : random) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 15];
    }
    return name;
}

bool IsTemporaryName(std::string_view name) {
    return name.size() == kPrefix.size() + 2 * kRandomBytes &&
           name.substr(0, kPrefix.size()) == kPrefix &&
           name.find_first_not_of(kDigits, kPrefix.size()) == std::string_view::npos;
}

bool ClaimTemporaryFile(const FileDescriptor& file) {
    // Where the file system has no locks, nobody removes the file either.
    const bool isContested = flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat status = {};
    return !isContested && fstat(file.Get(), &status) == 0 && status.st_nlink > 0;
}

void RemoveAbandonedFilesBeside(const std::string& path, Cleanup cleanup) try {
    static thread_local std::size_t lastDirectory = 0;  // its hash
    static thread_local long callsToSkip = 0;
    const int error = errno;
    const std::string directory = DirectoryPrefix(path);
    const std::size_t hash = std::hash<std::string>()(directory);
    if (cleanup == Cleanup::kAlways || hash != lastDirectory || --callsToSkip < 0) {
        lastDirectory = hash;
        callsToSkip = RemoveAbandonedFiles(directory.empty() ? "." : directory);
    }
    errno = error;
} catch (const std::exception&) {
    // Out of memory: the files stay until the next call.
}
