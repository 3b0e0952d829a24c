// Policies for benchmarks, in a store of their own, and what the operating system alone takes to
// look at a policy's file.
#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <string>

#include "PolicyStore.h"
#include "TemporaryDirectory.h"

constexpr int kId = 1001;

// A store with one policy, that of kId. ZnXml reads it after Select.
class StoreForBench {
   public:
    explicit StoreForBench(const std::string& document) {
        PolicyStore(directory_.Path()).Publish(kId, document, "benchmark");
    }

    void Select() const {
        setenv("ZN_POLICY_STORE", directory_.Path().c_str(), 1);
    }

    // The file of the policy of `id`.
    std::string File(int id = kId) const {
        return directory_ / (std::to_string(id) + ".cdb");
    }

   private:
    TemporaryDirectory directory_;
};

// A policy document with these items, in the order of their names.
inline std::string PolicyDocument(const std::map<std::string, std::string>& items) {
    std::string document = "<Policy>\n";
    for (const auto& [name, value] : items) {
        document += "  <" + name + ">" + value + "</" + name + ">\n";
    }
    return document + "</Policy>\n";
}

// open, fstat, mmap, munmap, close: nobody who maps a file gets away with less.
inline void MapAndUnmap(benchmark::State& state, const std::string& file) {
    for (auto _ : state) {
        const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status = {};
        if (descriptor < 0 || fstat(descriptor, &status) != 0) {
            state.SkipWithError("cannot open the policy's file");
            break;
        }
        const auto size = static_cast<size_t>(status.st_size);
        void* memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
        if (memory == MAP_FAILED) {
            state.SkipWithError("cannot map the policy's file");
        }
        benchmark::DoNotOptimize(memory);
        munmap(memory, size);
        close(descriptor);
    }
}
