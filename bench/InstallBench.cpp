// Installation: packages beside rsync on the same tree, manifests by their size, the install list
// beside hashing its zips.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "PackageShapes.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

namespace {

using benchmark::State;

void Register(const std::string& name, const std::function<void(State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

// --- Packages ---

// An unpacked package and its destination, created on first use and removed at the end.
class Package {
   public:
    explicit Package(const Shape& shape) : shape_(shape) {
        std::string manifest =
            "[Package_Intall_Type]\nPackageIntallType=arm64\n[arm64]\nbin=" + Destination() +
            "\n[bin]\n";
        constexpr size_t kNamesInAValue = 30;
        for (size_t i = 0; i < shape.files; ++i) {
            WriteFile(Tree() + FileName(i), Contents(shape.fileSize, i, 'n'));
            manifest += i % kNamesInAValue == 0 ? "\nk" + std::to_string(i) + "=" : ",";
            manifest += FileName(i);
        }
        WriteFile(directory_ / "package/FileList.ini", manifest);
    }

    void Prepare(Before before) const {
        PrepareDestination(Destination(), shape_, before);
    }

    bool InstallByUs() const {
        return ZnVcUpdate::ExecuteInstallCommand(directory_ / "package", "arm64") == 0;
    }

    bool InstallByRsync() const {
        return std::system(RsyncCommand(Tree(), Destination()).c_str()) == 0;
    }

    bool IsAsExpected(Before before) const {
        return IsInstalled(Tree(), Destination(), shape_, before);
    }

    int64_t Bytes() const {
        return static_cast<int64_t>(shape_.files * shape_.fileSize);
    }

   private:
    std::string Tree() const {
        return directory_ / "package/Common/";
    }
    std::string Destination() const {
        return directory_ / "destination/";
    }

    const Shape shape_;
    TemporaryDirectory directory_;
};

const Package& PackageOf(size_t shape) {
    static std::vector<std::unique_ptr<Package>> packages(std::size(kShapes));
    if (!packages[shape]) {
        packages[shape] = std::make_unique<Package>(kShapes[shape]);
    }
    return *packages[shape];
}

void Install(State& state, size_t shape, Before before, bool (Package::*install)() const) {
    AllowMark();
    const Package& package = PackageOf(shape);
    for (auto _ : state) {
        state.PauseTiming();
        package.Prepare(before);
        state.ResumeTiming();
        const bool succeeded = (package.*install)();
        state.PauseTiming();
        if (!succeeded || !package.IsAsExpected(before)) {
            state.SkipWithError("not installed");
        }
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * package.Bytes());
}

// --- Manifests ---

// Many file keys with the same file name: measures the manifest, hardly the installation.
void Manifest(State& state, size_t keys) {
    AllowMark();
    const TemporaryDirectory directory;
    std::string manifest =
        "[Package_Intall_Type]\nPackageIntallType=arm64\n[arm64]\nbin=" + directory / "to/" +
        "\n[bin]\n";
    for (size_t i = 0; i < keys; ++i) {
        manifest += "key" + std::to_string(i) + "=common\n";
    }
    WriteFile(directory / "FileList.ini", manifest);
    WriteFile(directory / "Common/common", "contents");
    ZnVcUpdate::ExecuteInstallCommand(directory.Path(), "arm64");  // unchanged from here on
    for (auto _ : state) {
        if (ZnVcUpdate::ExecuteInstallCommand(directory.Path(), "arm64") != 0) {
            state.SkipWithError("not installed");
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys));
}

// --- The install list ---

constexpr size_t kZips = 5000;
constexpr size_t kZipSize = size_t{16} << 10;
constexpr size_t kBundles = 10;

// A package directory with many zips, a few bundles, and as many records as zips. None matches, so
// only the list itself is measured and nothing is unpacked.
class ZipsAndRecords {
   public:
    ZipsAndRecords() {
        for (size_t i = 0; i < kZips; ++i) {
            const std::string number = std::to_string(10000 + i);
            paths_.push_back(directory_ / ("Package/Server/plugin_Server_" + number + ".zip"));
            WriteFile(paths_.back(), Contents(kZipSize, i, 'z'));
            if (i % (kZips / kBundles) == 0) {
                WriteFile(directory_ / ("Package/Server/plugin_Server_" + number + "_Release.zip"),
                          "bundle");
            }
            ZnPackageInfo record = {};
            ("https://packages.example/release/plugin_Server_" + number + ".1_Release.zip")
                .copy(record.downloadUrl, sizeof record.downloadUrl - 1);
            (std::string(56, 'f') + "000" + number).copy(record.sha256Hash, 64);
            records_.push_back(record);
        }
    }

    bool BuildList() const {
        return ZnVcUpdate::BuildVcInstallList(directory_.Path(), SERVER_SIDE, records_) == 0;
    }

    void HashZips() const {
        for (const std::string& path : paths_) {
            std::string digest = ZnSha256::FileSha256Value(path);
            benchmark::DoNotOptimize(digest);
        }
    }

   private:
    TemporaryDirectory directory_;
    std::vector<std::string> paths_;
    std::vector<ZnPackageInfo> records_;
};

const ZipsAndRecords& TheZipsAndRecords() {
    static const ZipsAndRecords zipsAndRecords;
    return zipsAndRecords;
}

void List(State& state) {
    const ZipsAndRecords& zips = TheZipsAndRecords();
    for (auto _ : state) {
        if (!zips.BuildList()) {
            state.SkipWithError("no list");
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kZips));
}

void Hash(State& state) {
    const ZipsAndRecords& zips = TheZipsAndRecords();
    for (auto _ : state) {
        zips.HashZips();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kZips));
}

int RegisterAll() {
    for (size_t shape = 0; shape < std::size(kShapes); ++shape) {
        for (const auto& [name, before] : kStates) {
            const std::string suffix = std::string("/") + name + "/" + kShapes[shape].name;
            Register("install/ours" + suffix, [shape, state = before](State& s) {
                Install(s, shape, state, &Package::InstallByUs);
            });
            Register("install/rsync" + suffix, [shape, state = before](State& s) {
                Install(s, shape, state, &Package::InstallByRsync);
            });
        }
    }
    for (const size_t keys : {1000, 10000}) {
        Register("manifest/" + std::to_string(keys) + "-keys/a-key",
                 [=](State& s) { Manifest(s, keys); });
    }
    const std::string zips = "/5000-zips-and-records";
    Register("list/ours" + zips, List);
    Register("list/hashing-alone" + zips, Hash);
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
