#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<long> g_allocations(0);

long Allocations() {
    return g_allocations;
}

static void* Allocate(std::size_t size) noexcept {
    ++g_allocations;
    return std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
    void* memory = Allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
