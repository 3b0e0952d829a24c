// What the randomised tests share: how long and with which seed they run, counters that all their
// processes see, and processes that are killed at random moments.
#pragma once

#include <sched.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "ChildProcess.h"

// The value of an environment variable as a number, or `otherwise`.
inline uint64_t NumberFromEnvironment(const char* name, uint64_t otherwise) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::strtoull(value, nullptr, 10) : otherwise;
}

// How many processes a test kills: ZN_TORTURE_ROUNDS.
inline uint64_t Rounds() {
    return NumberFromEnvironment("ZN_TORTURE_ROUNDS", 40);
}

// The seed of all random choices: ZN_TORTURE_SEED. It is printed, so that a failure can be
// repeated.
inline uint64_t Seed() {
    static const uint64_t seed = [] {
        const uint64_t chosen = NumberFromEnvironment("ZN_TORTURE_SEED", std::random_device()());
        std::cout << "ZN_TORTURE_SEED=" << chosen << '\n';
        return chosen;
    }();
    return seed;
}

// A random number below `limit`.
inline uint64_t Below(std::mt19937_64& random, uint64_t limit) {
    return random() % limit;
}

// Counters in memory that is shared with child processes.
struct Counters {
    std::atomic<uint64_t> writes{0};
    std::atomic<uint64_t> reads{0};
    std::atomic<uint64_t> torn{0};     // readings that were no complete version
    std::atomic<uint64_t> missing{0};  // readings that found nothing
    std::atomic<bool> stop{false};
};

class SharedCounters {
   public:
    SharedCounters()
        : memory_(mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("cannot share memory");
        }
        new (memory_) Counters;
    }
    ~SharedCounters() {
        munmap(memory_, sizeof(Counters));
    }
    SharedCounters(const SharedCounters&) = delete;
    SharedCounters& operator=(const SharedCounters&) = delete;

    Counters* operator->() const {
        return static_cast<Counters*>(memory_);
    }

   private:
    void* memory_;
};

// Runs `write` endlessly in several processes while `read` runs in others, and kills a random
// writer in every round. `write` gets random numbers of its own and counts what it did in `writes`;
// `read` runs until `stop`. Afterwards no process is left. Returns the number of writers killed.
inline uint64_t KillWritersAtRandom(const SharedCounters& counters,
                                    const std::function<void(std::mt19937_64&)>& write,
                                    const std::function<void()>& read) {
    constexpr size_t kWriters = 3;
    constexpr size_t kReaders = 2;
    std::mt19937_64 random(Seed());
    const auto startWriter = [&] {
        const uint64_t seed = random();
        return std::make_unique<ChildProcess>([&, seed] {
            std::mt19937_64 own(seed);
            for (;;) {
                write(own);
                ++counters->writes;
            }
        });
    };
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (size_t i = 0; i < kWriters; ++i) {
        writers.push_back(startWriter());
    }
    std::vector<std::unique_ptr<ChildProcess>> readers;
    for (size_t i = 0; i < kReaders; ++i) {
        readers.push_back(std::make_unique<ChildProcess>([&] {
            while (!counters->stop) {
                read();
                ++counters->reads;
            }
        }));
    }
    uint64_t kills = 0;
    for (; kills < Rounds(); ++kills) {
        const uint64_t enough = counters->writes + Below(random, 20);
        while (counters->writes < enough) {
            sched_yield();
        }
        for (uint64_t spin = Below(random, 100000); spin > 0; --spin) {
            std::atomic_signal_fence(std::memory_order_seq_cst);  // somewhere within the next write
        }
        std::unique_ptr<ChildProcess>& victim = writers[Below(random, kWriters)];
        victim.reset();  // kills it
        victim = startWriter();
    }
    writers.clear();
    counters->stop = true;
    for (const auto& reader : readers) {
        const ProcessResult result = reader->Wait();
        if (!result.Succeeded()) {
            throw std::runtime_error("a reader died: signal " + std::to_string(result.signal));
        }
    }
    return kills;
}

// Prints what a test did, so that a run shows how much was tried.
inline void PrintSummary(const SharedCounters& counters, uint64_t kills) {
    std::cout << counters->reads << " reads, " << counters->writes << " writes, " << kills
              << " kills, " << counters->torn << " torn\n";
}
