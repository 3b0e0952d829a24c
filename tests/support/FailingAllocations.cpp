#include "FailingAllocations.h"

#include <cstdlib>
#include <limits>
#include <new>

static constexpr int kUnlimited = std::numeric_limits<int>::max();
static thread_local int g_allocationsLeft = kUnlimited;

FailingAllocations::FailingAllocations(int allocations) {
    g_allocationsLeft = allocations;
}

FailingAllocations::~FailingAllocations() {
    g_allocationsLeft = kUnlimited;
}

static bool MayAllocate() {
    if (g_allocationsLeft == 0) {
        return false;
    }
    if (g_allocationsLeft != kUnlimited) {
        --g_allocationsLeft;
    }
    return true;
}

void* operator new(std::size_t size) {
    void* const memory = MayAllocate() ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
