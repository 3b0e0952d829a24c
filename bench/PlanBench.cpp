// Planning an installation: beside unzip's test of the same zip, and by the number of files.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "InstallPlan.h"
#include "RealZips.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"

namespace {

using benchmark::State;

constexpr size_t kFileSize = size_t{4} << 10;

// A machine with one package zip of many files, and the record that asks for it.
class Machine {
   public:
    explicit Machine(size_t files) {
        std::string manifest =
            "[Package_Intall_Type]\nPackageIntallType=arm64\n[arm64]\nbin=" + directory_ / "to/" +
            "\n[bin]";
        constexpr size_t kNamesInAValue = 30;
        for (size_t i = 0; i < files; ++i) {
            const std::string name = "f" + std::to_string(10000 + i);
            WriteFile(directory_ / ("in/Common/" + name), name + std::string(kFileSize - 6, 'x'));
            manifest += i % kNamesInAValue == 0 ? "\nk" + std::to_string(i) + "=" : ",";
            manifest += name;
        }
        WriteFile(directory_ / "in/FileList.ini", manifest + "\n");
        WriteFile(directory_ / "platforminfo.ini", "[os]\nplatform=arm64\n");
        std::filesystem::create_directory(directory_ / "Package");
        OutputOf("cd " + directory_ / "in" + " && zip -X -qr " + Zip() + " .");
        std::string("arm64").copy(record_.platform, sizeof record_.platform - 1);
        ZnSha256::FileSha256Value(Zip()).copy(record_.sha256Hash, 64);
    }

    // Returns the number of files that would be installed.
    size_t Plan() const {
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
        const InstallPlan plan = PlanInstallation(directory_.Path(), SERVER_SIDE, {record_});
        return plan.packages.size() == 1 ? plan.packages[0].files.size() : 0;
    }

    std::string Zip() const {
        return directory_ / "Package/P_Server.zip";
    }

   private:
    const TemporaryDirectory directory_;
    ZnPackageInfo record_ = {};
};

const Machine& MachineWith(size_t files) {
    static std::map<size_t, std::unique_ptr<Machine>> machines;
    auto& machine = machines[files];
    if (!machine) {
        machine = std::make_unique<Machine>(files);
    }
    return *machine;
}

void Plan(State& state, size_t files) {
    const Machine& machine = MachineWith(files);
    for (auto _ : state) {
        if (machine.Plan() != files) {
            state.SkipWithError("not planned");
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(files));
}

void Unzip(State& state, size_t files) {
    const Machine& machine = MachineWith(files);
    for (auto _ : state) {
        if (std::system(("unzip -tqq " + machine.Zip()).c_str()) != 0) {
            state.SkipWithError("not tested");
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(files));
}

void Register(const std::string& name, void (*run)(State&, size_t), size_t files) {
    benchmark::RegisterBenchmark(name.c_str(), [=](State& state) { run(state, files); })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
    Register("plan/ours/20000-files-of-4-KiB", Plan, 20000);
    Register("plan/unzip-test/20000-files-of-4-KiB", Unzip, 20000);
    Register("planning/20000-files/a-file", Plan, 20000);
    Register("planning/2000-files/a-file", Plan, 2000);
    return true;
}();

}  // namespace
