// Makes a test program run out of memory: its sources include FailingAllocations.cpp, which
// replaces the global operator new.
#pragma once

// While an object exists, operator new throws std::bad_alloc after `allocations` successful calls.
class FailingAllocations {
   public:
    explicit FailingAllocations(int allocations);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
};
