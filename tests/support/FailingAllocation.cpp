#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local long allocationsLeft = -1;  // -1: unlimited

void* Allocate(std::size_t size) {
    if (allocationsLeft == 0) {
        return nullptr;
    }
    if (allocationsLeft > 0) {
        --allocationsLeft;
    }
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = Allocate(size);
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

bool NeverThrows(const std::function<void()>& use) {
    for (long count = 0; count < 10'000; ++count) {
        allocationsLeft = count;
        bool hasThrown = false;
        try {
            use();
        } catch (...) {
            hasThrown = true;
        }
        const bool wereEnough = allocationsLeft > 0;
        allocationsLeft = -1;
        if (hasThrown || wereEnough) {
            return !hasThrown && count > 1;
        }
    }
    return false;
}
