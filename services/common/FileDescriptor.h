// An owned file descriptor with complete, EINTR-safe reads and writes.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>

// Repeats a system call while a signal interrupts it.
template <typename Operation>
auto RetryOnEintr(Operation operation) {
    auto result = operation();
    while (result < 0 && errno == EINTR) {
        result = operation();
    }
    return result;
}

// Owns an open file descriptor, or none. Not safe for concurrent use. Failures set errno.
class FileDescriptor {
   public:
    // Owns nothing.
    FileDescriptor() = default;

    // Takes ownership of `fd`; a negative value means none.
    explicit FileDescriptor(int fd) : fd_(fd) {}

    // Opens `path` with O_CLOEXEC added to `flags`; `mode` (less the umask) is used when the file
    // is created. Check IsOpen() afterwards.
    //
    // The descriptor is never 0, 1 or 2, even where these are closed: other parts of the process
    // read standard input and write standard output and error without opening them, and would read
    // or write this file. A file created with O_EXCL never had such a number, even for a moment,
    // where /dev/null exists; an existing file that is opened for writing may have had one if other
    // threads open files too.
    static FileDescriptor Open(const char* path, int flags, mode_t mode = 0) {
        return OpenAt(AT_FDCWD, path, flags, mode);
    }

    // The same for a path relative to the open directory `directory`.
    static FileDescriptor OpenAt(int directory, const char* path, int flags, mode_t mode = 0);

    // Opens `path` for reading without ever waiting for the other end of a FIFO. Succeeds for
    // regular files only; anything else fails with EISDIR for a directory and EINVAL otherwise.
    static FileDescriptor OpenRegularFile(const char* path);

    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.Release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool IsOpen() const {
        return fd_ >= 0;
    }
    int Get() const {
        return fd_;
    }

    // Gives up ownership and returns the descriptor.
    int Release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

    // Closes the descriptor. Returns false when the system reports that written data was lost. Not
    // a cancellation point.
    bool Close();

    // Reads up to `size` bytes. Returns the number of bytes read, 0 at the end of the file, -1 on
    // an error.
    ssize_t Read(void* buffer, std::size_t size) const;

    // Reads up to `size` bytes at `offset`, leaving the file's position alone. Returns the number
    // of bytes read: fewer than `size` at the end of the file or after an error.
    ssize_t ReadAt(char* buffer, std::size_t size, off_t offset) const;

    // Appends everything up to the end of the file to `text`. Returns false on an error, and with
    // EFBIG as soon as more than `maxSize` bytes were read.
    bool ReadAll(std::string& text, std::size_t maxSize) const;

    // Passes the contents of a regular file to `consume`, block by block. Returns false on an
    // error, when `consume` returns false, and when the file does not end at the size that it had
    // at the beginning: it is being changed, or has no fixed size.
    bool ReadBlocks(const std::function<bool(const char* data, std::size_t size)>& consume) const;

    // Writes `length` bytes. Returns the number of bytes written: fewer than `length` after an
    // error.
    long long Write(const char* data, long long length) const;

   private:
    int fd_ = -1;
};
