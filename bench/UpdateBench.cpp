// Package update: the update description beside its parse alone and beside nlohmann/json, the
// client's package list beside memcpy, the local scan beside the system's digest programs.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <simdjson.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

namespace {

using benchmark::State;

void Register(const std::string& name, const std::function<void(State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run);
}

// For work done by other processes.
void RegisterInRealTime(const std::string& name, const std::function<void(State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime();
}

// --- Peak memory ---

double StatusInBytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string name;
    while (status >> name) {
        if (name == field) {
            double kibibytes = 0;
            status >> kibibytes;
            return kibibytes * 1024;
        }
        status.ignore(1000, '\n');
    }
    return 0;
}

// The peak memory of `work`, in bytes beyond what the process had before.
double PeakOf(const std::function<void()>& work) {
    malloc_trim(0);  // freed memory would hide the peak
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    const double before = StatusInBytes("VmRSS:");
    work();
    return StatusInBytes("VmHWM:") - before;
}

// --- The update description ---

// Without spare capacity, which would save the parser a copy.
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
    text += "]}";
    text.shrink_to_fit();
    return text;
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

// A new parser for each text.
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

// Fails when the conversion takes more memory than the text, the records and `bound` times the
// text.
void ConvertMemory(State& state, size_t packages, double bound) {
    const std::string text = Description(packages);
    const auto textSize = static_cast<double>(text.size());
    for (auto _ : state) {
        Records records;
        const double peak = PeakOf([&] { ZnVcUpdate::ZnConvertToVekPackInfo(text, records); });
        const auto recordsSize = static_cast<double>(records.size() * sizeof records[0]);
        state.counters["times_the_text"] = (peak - recordsSize) / textSize;
        if (peak - recordsSize > bound * textSize) {
            state.SkipWithError("takes too much memory");
        }
    }
}

// --- The client's package list ---

// A message whose payload starts `shift` bytes after an address aligned for records.
class ReceivedMessage {
   public:
    ReceivedMessage(size_t records, size_t shift)
        : shift_(shift),
          size_(records * sizeof(ZnPackageInfo)),
          buffer_(shift + sizeof(ZnMessage) + size_, 'x') {
        Get()->payloadLength = static_cast<int32_t>(size_);
    }

    ZnMessage* Get() {
        return reinterpret_cast<ZnMessage*>(&buffer_[shift_]);
    }
    const char* Payload() const {
        return &buffer_[shift_ + sizeof(ZnMessage)];
    }
    size_t PayloadSize() const {
        return size_;
    }

   private:
    size_t shift_;
    size_t size_;
    std::vector<char> buffer_;
};

void ListIntoNew(State& state, size_t count, size_t shift) {
    ReceivedMessage message(count, shift);
    for (auto _ : state) {
        Records records;
        ZnVcUpdate::ZnClientPackageListMessageToPackInfo(message.Get(), records);
        benchmark::DoNotOptimize(records.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(message.PayloadSize()));
}

void ListIntoKept(State& state, size_t count, size_t shift) {
    ReceivedMessage message(count, shift);
    Records records;
    for (auto _ : state) {
        ZnVcUpdate::ZnClientPackageListMessageToPackInfo(message.Get(), records);
        benchmark::DoNotOptimize(records.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(message.PayloadSize()));
}

void MemcpyIntoNew(State& state, size_t count, size_t shift) {
    const ReceivedMessage message(count, shift);
    for (auto _ : state) {
        const std::unique_ptr<char[]> copy(new char[message.PayloadSize()]);
        std::memcpy(copy.get(), message.Payload(), message.PayloadSize());
        benchmark::DoNotOptimize(copy.get());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(message.PayloadSize()));
}

void MemcpyIntoKept(State& state, size_t count, size_t shift) {
    const ReceivedMessage message(count, shift);
    const std::unique_ptr<char[]> copy(new char[message.PayloadSize()]);
    for (auto _ : state) {
        std::memcpy(copy.get(), message.Payload(), message.PayloadSize());
        benchmark::DoNotOptimize(copy.get());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(message.PayloadSize()));
}

// --- The local scan ---

constexpr size_t kZips = 64;
constexpr size_t kZipSize = size_t{8} << 20;

// The zips, created on first use and removed at the end. Also the process directory, in which every
// scan creates the package tree.
const TemporaryDirectory& Zips() {
    static const TemporaryDirectory directory;
    static const bool made = [] {
        setenv("ZN_PROCESS_DIRECTORY", directory.Path().c_str(), 1);
        std::string contents(kZipSize, 'z');
        for (size_t i = 0; i < kZips; ++i) {
            contents[i] = 'a';
            WriteFile(directory / ("zips/" + std::to_string(100 + i) + ".zip"), contents);
        }
        // One large sparse zip.
        WriteFile(directory / "large/large.zip", "");
        std::filesystem::resize_file(directory / "large/large.zip", size_t{1} << 30);
        return true;
    }();
    static_cast<void>(made);
    return directory;
}

void Scan(State& state) {
    const std::string directory = Zips() / "zips";
    for (auto _ : state) {
        Records records;
        ZnVcUpdate::ZnScanLocalZipFiles(directory, records);
        if (records.size() != kZips) {
            state.SkipWithError("did not find the zips");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kZips * kZipSize));
}

void DigestProgram(State& state, const std::string& program) {
    const std::string command = program + " " + Zips().Path() + "/zips/*.zip >/dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("cannot run the program");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kZips * kZipSize));
}

// Fails when the scan takes more than `bound` MiB.
void ScanMemory(State& state, const std::string& directory, double bound) {
    const std::string path = Zips() / directory;
    for (auto _ : state) {
        const double peak = PeakOf([&] {
                                Records records;
                                ZnVcUpdate::ZnScanLocalZipFiles(path, records);
                            }) /
                            (1 << 20);
        state.counters["peak_MiB"] = peak;
        if (peak > bound) {
            state.SkipWithError("takes too much memory");
        }
    }
}

int RegisterAll() {
    // Keeps the largest texts and lists in the process as well (see BenchMain.cpp).
    mallopt(M_MMAP_MAX, 0);

    for (const size_t packages : {10, 1000, 100000}) {
        const std::string suffix = "/" + std::to_string(packages) + "-packages";
        Register("convert/ours" + suffix, [=](State& s) { Convert(s, ConvertByUs, packages); });
        Register("convert/nlohmann" + suffix,
                 [=](State& s) { Convert(s, ConvertByNlohmann, packages); });
        Register("convert/simdjson-parse" + suffix, [=](State& s) { Parse(s, packages); });
        Register("convert/simdjson-kept-parser" + suffix,
                 [=](State& s) { ParseWithKeptParser(s, packages); });
    }
    for (const size_t packages : {20000, 100000}) {
        Register("convert-growth/" + std::to_string(packages) + "-packages/a-byte",
                 [=](State& s) { Convert(s, ConvertByUs, packages); });
    }
    Register("convert-memory/ours/100000-packages", [](State& s) { ConvertMemory(s, 100000, 5); });

    for (const size_t shift : {0, 1}) {
        for (const size_t count : {1, 100, 10000}) {
            const std::string suffix =
                (shift == 0 ? "/aligned/" : "/odd/") + std::to_string(count) + "-records";
            const auto add = [&](const std::string& name, void (*run)(State&, size_t, size_t)) {
                Register(name + suffix, [=](State& s) { run(s, count, shift); });
            };
            add("list-into-new/ours", ListIntoNew);
            add("list-into-new/memcpy", MemcpyIntoNew);
            add("list-into-kept/ours", ListIntoKept);
            add("list-into-kept/memcpy", MemcpyIntoKept);
        }
    }

    const std::string zips = "/64-zips-of-8-MiB";
    RegisterInRealTime("scan/ours" + zips, Scan);
    RegisterInRealTime("scan/openssl" + zips,
                       [](State& s) { DigestProgram(s, "openssl dgst -sha256"); });
    RegisterInRealTime("scan/sha256sum" + zips, [](State& s) { DigestProgram(s, "sha256sum"); });
    Register("scan-memory/ours" + zips, [](State& s) { ScanMemory(s, "zips", 16); });
    Register("scan-memory/ours/one-zip-of-1-GiB", [](State& s) { ScanMemory(s, "large", 16); });
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
