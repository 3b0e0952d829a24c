// Synchronising a store with a directory of documents by the program: 10,000 changed documents
// beside runs of `policy publish`, a document each; 10,000 unchanged ones beside `cat` of the
// files.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "TemporaryDirectory.h"

namespace {

using benchmark::State;

constexpr int kDocuments = 10000;
constexpr int kPublications = 50;  // a process each; measured per document as well

// A document of about 2 KiB.
std::string Document(int id, const std::string& value) {
    std::string document = "<Policy>\n";
    for (int i = 0; i < 40; ++i) {
        const std::string name = "ItemWithSomeName" + std::to_string(i);
        document += "  <" + name + ">" + std::to_string(id) + value + "</" + name + ">\n";
    }
    return document + "</Policy>\n";
}

// Two versions of all documents, and a store.
class Fleet {
   public:
    Fleet() {
        for (int id = 0; id < kDocuments; ++id) {
            for (const int version : {0, 1}) {
                WriteFile(Documents(version) + std::to_string(id) + ".xml",
                          Document(id, std::to_string(version)));
            }
        }
    }

    std::string Documents(int version) const {
        return directory_ / (version == 0 ? "old/" : "new/");
    }

    bool Run(const std::string& arguments) const {
        const std::string command =
            std::string(ZNPOLICY) + " --store " + directory_ / "store" + " " + arguments;
        return std::system((command + " >" + directory_ / "output").c_str()) == 0;
    }

    // Whether the last run printed `text`.
    bool Printed(const std::string& text) const {
        return ReadFile(directory_ / "output") == text;
    }

   private:
    const TemporaryDirectory directory_;
};

const Fleet& TheFleet() {
    static const Fleet fleet;
    return fleet;
}

void SyncChanged(State& state) {
    const Fleet& fleet = TheFleet();
    fleet.Run("policy sync " + fleet.Documents(1));
    int version = 0;
    for (auto _ : state) {
        if (!fleet.Run("policy sync " + fleet.Documents(version)) ||
            !fleet.Printed(std::to_string(kDocuments) + " published, 0 removed, 0 unchanged\n")) {
            state.SkipWithError("not all published");
        }
        version = 1 - version;
    }
    state.SetItemsProcessed(state.iterations() * kDocuments);
}

void PublishEach(State& state) {
    const Fleet& fleet = TheFleet();
    for (auto _ : state) {
        for (int id = 0; id < kPublications; ++id) {
            const std::string name = std::to_string(id);
            if (!fleet.Run("policy publish --quiet " + name + " " + fleet.Documents(1) + name +
                           ".xml")) {
                state.SkipWithError("not published");
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * kPublications);
}

void SyncUnchanged(State& state) {
    const Fleet& fleet = TheFleet();
    fleet.Run("policy sync " + fleet.Documents(0));
    for (auto _ : state) {
        if (!fleet.Run("policy sync " + fleet.Documents(0)) ||
            !fleet.Printed("0 published, 0 removed, " + std::to_string(kDocuments) +
                           " unchanged\n")) {
            state.SkipWithError("not all unchanged");
        }
    }
}

void Cat(State& state) {
    const std::string command = "cd " + TheFleet().Documents(0) + " && cat -- *.xml >/dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("cat failed");
        }
    }
}

void Register(const char* name, void (*run)(State&)) {
    benchmark::RegisterBenchmark(name, run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
    Register("changed/sync/a-document", SyncChanged);
    Register("changed/publish/a-document", PublishEach);
    Register("unchanged/sync/10000-documents", SyncUnchanged);
    Register("unchanged/cat/10000-documents", Cat);
    return true;
}();

}  // namespace
