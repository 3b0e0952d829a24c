// Running out of memory on purpose. FailingAllocation.cpp replaces operator new in the whole
// program, shared libraries included.
#pragma once

#include <functional>

// Calls `use` with 0, 1, 2 ... successful allocations in this thread, until it needs no more.
// Returns false when it throws, or needs no allocation at all.
bool NeverThrows(const std::function<void()>& use);
