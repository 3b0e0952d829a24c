// Bandwidth policies: reading one, compared with look-ups in a table; a query, compared with a map.
#include "PolicyStoreForBench.h"
#include "ZnBandwidthPolicy.h"

namespace {

const char* const kModules[] = {"Audio",   "COM", "Camera", "Clipboard", "DXVA",  "Display",
                                "FdRedir", "HID", "PCSC",   "Printer",   "Total", "Security",
                                "TWAIN",   "USB", "VCC",    "Video"};

// All items of all modules.
std::map<std::string, std::string> Items() {
    std::map<std::string, std::string> items;
    for (const std::string module : kModules) {
        items[module + "BandwidthSpecified"] = "1";
        items[module + "Bandwidth"] = "20000";
        items[module + "BandwidthPercentSpecified"] = "1";
        items[module + "BandwidthPercent"] = "50";
    }
    return items;
}

const StoreForBench& Store() {
    static const StoreForBench store(PolicyDocument(Items()));
    return store;
}

void Read(benchmark::State& state) {
    Store().Select();
    ZnBandwidthPolicy bandwidth;
    for (auto _ : state) {
        bandwidth.ReadBandwidthPolicy(kId);
    }
    if (bandwidth.GetBandwidthBytesPerSec("Audio") != 10000 * 125) {
        state.SkipWithError("the policy was not read");
    }
}

void Query(benchmark::State& state, const char* name) {
    Store().Select();
    ZnBandwidthPolicy bandwidth;
    bandwidth.ReadBandwidthPolicy(kId);
    benchmark::DoNotOptimize(name);
    for (auto _ : state) {
        benchmark::DoNotOptimize(bandwidth.GetBandwidthBytesPerSec(name));
    }
}

// The map alone, with a key that is a string already.
void LookUp(benchmark::State& state, const std::string& key) {
    std::map<std::string, int> table;
    for (const char* module : kModules) {
        table[module] = 10000 * 125;
    }
    for (auto _ : state) {
        const auto found = table.find(key);
        benchmark::DoNotOptimize(found == table.end() ? 0 : found->second);
    }
}

int RegisterAll() {
    using State = benchmark::State;
    benchmark::RegisterBenchmark("bandwidth-read/ours/all-modules", Read);
    std::vector<std::string> keys;
    for (const auto& [key, value] : Items()) {
        keys.push_back(key);
    }
    benchmark::RegisterBenchmark("bandwidth-read/table/all-modules", [keys](State& state) {
        ReadAndLookUp(state, Store().File(), keys);
    });
    const struct {
        const char* name;
        const char* key;
    } queries[] = {{"Audio", "Audio"},     {"ZnAudio", "Audio"},     {"Video", "Video"},
                   {"ZnTotal", "Total"},   {"Unknown", "Unknown"},   {"Clipboard", "Clipboard"},
                   {"ZnVideo", "ZnVideo"}, {"ZnDisplay", "Display"}, {"libZnAudio", "Audio"}};
    for (const auto& query : queries) {
        const std::string suffix = std::string("/") + query.name;
        benchmark::RegisterBenchmark(("bandwidth-query/ours" + suffix).c_str(), Query, query.name);
        benchmark::RegisterBenchmark(("bandwidth-query/map" + suffix).c_str(), LookUp,
                                     std::string(query.key));
    }
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
