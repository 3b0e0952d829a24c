// The program's whole installation beside rsync, which copies the same tree, and beside the library
// alone; and what the journal adds.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Journal.h"
#include "PackageShapes.h"
#include "RealZips.h"
#include "RedirectedStdio.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

namespace fs = std::filesystem;

namespace {

using benchmark::State;

// A machine with one package zip, created on first use and removed at the end.
class Machine {
   public:
    explicit Machine(const Shape& shape) : shape_(shape) {
        std::string manifest =
            "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\nbin=" + Destination() +
            "\n[bin]\n";
        for (size_t i = 0; i < shape.files; ++i) {
            WriteFile(Tree() + FileName(i), Contents(shape.fileSize, i, 'n'));
            manifest += "k" + std::to_string(i) + "=" + FileName(i) + "\n";
        }
        WriteFile(directory_ / "tree/FileList.ini", manifest);
        WriteFile(directory_ / "platforminfo.ini", "[os]\nplatform=Model-A\n");
        fs::create_directories(Packages());
        OutputOf("cd " + directory_ / "tree" + " && zip -1 -qr " + Packages() + "P_Server.zip .");
        const std::string digest = Sha256Of(Packages() + "P_Server.zip");
        WriteFile(directory_ / "update.json",
                  R"({"packageInfo":[{"platform":"Model-A","packageName":"P_Server.zip",)"
                  R"("sha256Hash":")" +
                      digest + R"("}]})");
        std::string("Model-A").copy(record_.platform, sizeof record_.platform - 1);
        digest.copy(record_.sha256Hash, sizeof record_.sha256Hash - 1);
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
    }

    // Sets up the destination before an installation.
    void Prepare(Before before) const {
        fs::remove_all(Packages() + "P_Server");
        fs::remove_all(directory_ / ".znpolicy");
        PrepareDestination(Destination(), shape_, before);
    }

    bool InstallByProgram() const {
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
        return std::system((ZNPOLICY " package install --side server --root " + directory_.Path() +
                            " --update " + directory_ / "update.json >/dev/null")
                               .c_str()) == 0;
    }

    bool InstallByLibrary() const {
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
        const RedirectedStdio silenced;
        return ZnVcUpdate::BuildVcInstallList(directory_.Path(), SERVER_SIDE, {record_}) == 0;
    }

    bool InstallByRsync() const {
        return std::system(RsyncCommand(Tree(), Destination()).c_str()) == 0;
    }

    // What the program does with its journal in a run that succeeds.
    bool KeepJournal() const {
        std::set<std::string> paths;
        for (size_t i = 0; i < shape_.files; ++i) {
            paths.insert(Destination() + FileName(i));
            paths.insert(Destination() + FileName(i) + ".bak");
        }
        fs::create_directory(directory_ / ".znpolicy");
        Journal journal = Journal::Create(directory_ / ".znpolicy/journal", paths,
                                          {Packages() + "P_Server"}, Json::object());
        journal.SyncDirectories();
        journal.MoveTo(directory_ / ".znpolicy/1");
        return true;
    }

    bool IsAsExpected(Before before) const {
        return IsInstalled(Tree(), Destination(), shape_, before);
    }

   private:
    std::string Tree() const {
        return directory_ / "tree/Common/";
    }
    std::string Destination() const {
        return directory_ / "destination/";
    }
    std::string Packages() const {
        return directory_ / "Package/Server/";
    }

    const Shape shape_;
    TemporaryDirectory directory_;
    ZnPackageInfo record_ = {};
};

const Machine& MachineOf(size_t shape) {
    static std::vector<std::unique_ptr<Machine>> machines(std::size(kShapes));
    if (!machines[shape]) {
        AllowMark();
        machines[shape] = std::make_unique<Machine>(kShapes[shape]);
    }
    return *machines[shape];
}

using Step = bool (Machine::*)() const;

void Measure(State& state, size_t shape, Before before, Step step, bool installs) {
    const Machine& machine = MachineOf(shape);
    for (auto _ : state) {
        state.PauseTiming();
        machine.Prepare(before);
        state.ResumeTiming();
        const bool succeeded = (machine.*step)();
        state.PauseTiming();
        if (!succeeded || (installs && !machine.IsAsExpected(before))) {
            state.SkipWithError("not installed");
        }
        state.ResumeTiming();
    }
}

int RegisterAll() {
    constexpr struct {
        const char* name;
        Step step;
        bool installs;
    } kSteps[] = {{"run/program", &Machine::InstallByProgram, true},
                  {"run/library", &Machine::InstallByLibrary, true},
                  {"run/rsync", &Machine::InstallByRsync, true},
                  {"run/journal", &Machine::KeepJournal, false}};
    for (size_t shape = 0; shape < std::size(kShapes); ++shape) {
        for (const auto& [state, before] : kStates) {
            for (const auto& [name, step, installs] : kSteps) {
                const std::string title =
                    std::string(name) + "/" + state + "/" + kShapes[shape].name;
                benchmark::RegisterBenchmark(
                    title.c_str(), [=, b = before, s = step, i = installs](
                                       State& measured) { Measure(measured, shape, b, s, i); })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
