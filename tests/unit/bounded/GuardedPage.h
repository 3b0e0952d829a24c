// A page of memory followed by one that cannot be accessed.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>

class GuardedPage {
   public:
    GuardedPage() : size_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        void* const memory =
            mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::runtime_error("no memory");
        }
        start_ = static_cast<char*>(memory);
        if (mprotect(End(), size_, PROT_NONE) != 0) {
            throw std::runtime_error("cannot protect memory");
        }
    }
    ~GuardedPage() {
        munmap(start_, 2 * size_);
    }
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;

    // The first byte that cannot be accessed.
    char* End() const {
        return start_ + size_;
    }

   private:
    size_t size_;
    char* start_ = nullptr;
};
