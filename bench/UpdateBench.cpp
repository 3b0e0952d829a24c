// Package update: the update description beside its parse alone and beside nlohmann/json, the
// client's package list beside memcpy, the local scan beside the system's digest programs.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <simdjson.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

namespace {

using benchmark::State;

void Register(const std::string& name, const std::function<void(State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime();
}

// --- Peak memory ---

double StatusInMiB(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string name;
    while (status >> name) {
        if (name == field) {
            double kibibytes = 0;
            status >> kibibytes;
            return kibibytes / 1024;
        }
        status.ignore(1000, '\n');
    }
    return 0;
}

// How much memory, in MiB, the process takes for `work` beyond what it has before.
double PeakOf(const std::function<void()>& work) {
    malloc_trim(0);  // what is left over from earlier work would hide what this one takes
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    const double before = StatusInMiB("VmRSS:");
    work();
    return StatusInMiB("VmHWM:") - before;
}

// --- The update description ---

std::string Description(size_t packages) {
    std::string text = R"({"packageInfo": [)";
    for (size_t i = 0; i < packages; ++i) {
        const std::string number = std::to_string(i);
        text += i == 0 ? "" : ", ";
        text += R"({"application": "application)" + number +
                R"(", "description": "Redirection of sound, number )" + number +
                R"(", "downloadUrl": "https://packages.example/release/sound_Server_)" + number +
                R"(.zip", "downloadZipSha256Hash": ")" + std::string(64, 'a') +
                R"(", "releaseDate": "2024-05-01", "microserviceName": "sound", "version": "1.0.)" +
                number + R"(", "platform": "Model-A", "packageName": "sound_Server_)" + number +
                R"(.zip", "sha256Hash": ")" + std::string(64, 'f') + R"(", "size": ")" + number +
                "\"}";
    }
    return text + "]}";
}

using Records = std::vector<ZnPackageInfo>;

Records ConvertByUs(const std::string& text) {
    Records records;
    ZnVcUpdate::ZnConvertToVekPackInfo(text, records);
    return records;
}

template <size_t N>
void Copy(const nlohmann::json& element, const char* member, char (&field)[N]) {
    const auto found = element.find(member);
    if (found != element.end() && found->is_string()) {
        const auto& text = found->get_ref<const std::string&>();
        if (text.size() < N) {
            std::memcpy(field, text.c_str(), text.size() + 1);
        }
    }
}

Records ConvertByNlohmann(const std::string& text) {
    Records records;
    const nlohmann::json document = nlohmann::json::parse(text);
    for (const nlohmann::json& element : document["packageInfo"]) {
        ZnPackageInfo info;
        std::memset(&info, 0, sizeof info);
        Copy(element, "application", info.application);
        Copy(element, "description", info.description);
        Copy(element, "downloadUrl", info.downloadUrl);
        Copy(element, "downloadZipSha256Hash", info.downloadZipSha256Hash);
        Copy(element, "releaseDate", info.releaseDate);
        Copy(element, "microserviceName", info.microserviceName);
        Copy(element, "version", info.version);
        Copy(element, "platform", info.platform);
        Copy(element, "packageName", info.packageName);
        Copy(element, "sha256Hash", info.sha256Hash);
        char size[32] = {};
        Copy(element, "size", size);
        info.size = std::atoi(size);
        records.push_back(info);
    }
    return records;
}

bool SameBytes(const Records& a, const Records& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0;
}

void Convert(State& state, Records (*convert)(const std::string&), size_t packages) {
    const std::string text = Description(packages);
    if (!SameBytes(convert(text), ConvertByNlohmann(text))) {
        state.SkipWithError("the converters do not agree");
        return;
    }
    for (auto _ : state) {
        const Records records = convert(text);
        benchmark::DoNotOptimize(records.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// A parser for each text, as whoever reads one text has.
void Parse(State& state, size_t packages) {
    const std::string text = Description(packages);
    for (auto _ : state) {
        simdjson::dom::parser parser;
        simdjson::dom::element document;
        if (parser.parse(text).get(document) != simdjson::SUCCESS) {
            state.SkipWithError("cannot parse");
            break;
        }
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void ParseWithKeptParser(State& state, size_t packages) {
    const std::string text = Description(packages);
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element document;
        if (parser.parse(text).get(document) != simdjson::SUCCESS) {
            state.SkipWithError("cannot parse");
            break;
        }
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void ConvertMemory(State& state, size_t packages) {
    const std::string text = Description(packages);
    const double textMiB = static_cast<double>(text.size()) / (1 << 20);
    double peak = 0;
    for (auto _ : state) {
        peak = PeakOf([&] {
            Records records;
            records.reserve(packages);
            std::memset(records.data(), 0, packages * sizeof records[0]);
        });
    }
    (void)textMiB;
    (void)peak;
}

}  // namespace
