// Policies for benchmarks, in a store of their own, and the system calls that reading one takes.
#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "PolicyStore.h"
#include "TemporaryDirectory.h"

constexpr int kId = 1001;

// A store with one policy, that of kId. ZnXml reads it after Select().
class StoreForBench {
   public:
    explicit StoreForBench(const std::string& document) {
        PolicyStore(directory_.Path()).Publish(kId, document, "benchmark");
    }

    void Select() const {
        setenv("ZN_POLICY_STORE", directory_.Path().c_str(), 1);
    }

    // The path of the policy file of `id`.
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

// open, fstat, read, close: the least that a reader needs for a file of at most 64 KiB. `use` is
// called after them.
template <class Use>
void ReadWholeFile(benchmark::State& state, const std::string& file, Use use) {
    std::array<char, 65536> buffer;
    for (auto _ : state) {
        const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status = {};
        if (descriptor < 0 || fstat(descriptor, &status) != 0) {
            state.SkipWithError("cannot open the policy file");
            break;
        }
        if (read(descriptor, buffer.data(), buffer.size()) != status.st_size) {
            state.SkipWithError("cannot read the policy file");
        }
        benchmark::DoNotOptimize(buffer);
        close(descriptor);
        use();
    }
}

// The same, and looks `keys` up in a table that is ready: what no store of single items can beat.
inline void ReadAndLookUp(benchmark::State& state, const std::string& file,
                          const std::vector<std::string>& keys) {
    std::unordered_map<std::string, std::string> table;
    for (const std::string& key : keys) {
        table[key] = "1000";
    }
    ReadWholeFile(state, file, [&] {
        for (const std::string& key : keys) {
            benchmark::DoNotOptimize(std::atoi(table.find(key.c_str())->second.c_str()));
        }
    });
}
