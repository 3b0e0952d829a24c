// A file descriptor with an owner, and whole reads and writes on it.
#pragma once

#include <sys/types.h>

// Owns an open file descriptor, or none. Not safe for use from several threads at once.
class Descriptor {
   public:
    // Takes over `fd`; a negative value means none.
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        Close();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool IsOpen() const {
        return fd_ >= 0;
    }
    int Get() const {
        return fd_;
    }

    // Closes the descriptor now. False when the system reports that something written is lost.
    bool Close();

    // Reads up to `size` bytes. Returns how many, 0 at the end of the file, -1 on an error.
    ssize_t Read(char* buffer, size_t size) const;

    // Writes `length` bytes. Returns how many were written: fewer than `length` after an error.
    long long Write(const char* data, long long length) const;

    // Has everything written so far put on the disk. False when that failed.
    bool Sync() const;

   private:
    int fd_;
};
