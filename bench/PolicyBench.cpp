// Reading a policy through ZnXml, compared with bare system calls and with parsing XML, in large
// policies and in large stores. Parsing a document, compared with bare Expat.
#include <expat.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "PolicyStoreForBench.h"
#include "ZnXml.h"

namespace {

constexpr int kItemsRead = 66;
constexpr int kManyIds = 100000;

std::vector<std::string> MakeKeys() {
    std::vector<std::string> keys;
    for (int i = 0; i < kItemsRead; ++i) {
        keys.push_back("ModuleItemNumber" + std::to_string(100 + i));
    }
    return keys;
}

// The keys of the items that are read.
const std::vector<std::string> g_keys = MakeKeys();

// A document of about `size` bytes that has all items of g_keys.
std::string Document(size_t size) {
    std::map<std::string, std::string> items;
    for (const std::string& key : g_keys) {
        items[key] = "1000";
    }
    const std::string padding(100, 'x');
    size_t length = PolicyDocument(items).size();
    for (int i = 0; length + 150 < size; ++i, length += 150) {
        items["TextItemNumber" + std::to_string(100000 + i)] = padding;
    }
    return PolicyDocument(items);
}

// Load, read the first `count` items, destroy.
void ReadThroughZnXml(benchmark::State& state, const StoreForBench& store, int count) {
    store.Select();
    for (auto _ : state) {
        ZnXml xml;
        if (!xml.LoadPolicyShareMemory(kId)) {
            state.SkipWithError("cannot load the policy");
            break;
        }
        for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
            int value = 0;
            if (!xml.GetXmlContent(g_keys[i].c_str(), value)) {
                state.SkipWithError("cannot read an item");
                break;
            }
            benchmark::DoNotOptimize(value);
        }
    }
}

// Reads the items from a policy that stays loaded.
void ReadLoaded(benchmark::State& state, const StoreForBench& store) {
    store.Select();
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(kId)) {
        state.SkipWithError("cannot load the policy");
        return;
    }
    for (auto _ : state) {
        for (const std::string& key : g_keys) {
            int value = 0;
            if (!xml.GetXmlContent(key.c_str(), value)) {
                state.SkipWithError("cannot read an item");
                break;
            }
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(state.iterations() * kItemsRead);
}

using Items = std::unordered_map<std::string, std::string>;

// The text of the elements of an XML document.
struct ExpatReader {
    Items items;
    std::string text;

    static void Start(void* /*reader*/, const char* /*name*/, const char** /*attributes*/) {}

    static void End(void* reader, const char* name) {
        auto& self = *static_cast<ExpatReader*>(reader);
        self.items[name] = std::move(self.text);
        self.text.clear();
    }

    static void Text(void* reader, const char* text, int length) {
        static_cast<ExpatReader*>(reader)->text.append(text, static_cast<size_t>(length));
    }
};

bool ParseWithExpat(const std::string& document, Items& items) {
    ExpatReader reader;
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &reader);
    XML_SetElementHandler(parser, ExpatReader::Start, ExpatReader::End);
    XML_SetCharacterDataHandler(parser, ExpatReader::Text);
    const bool parsed = XML_Parse(parser, document.data(), static_cast<int>(document.size()),
                                  XML_TRUE) == XML_STATUS_OK;
    XML_ParserFree(parser);
    items = std::move(reader.items);
    return parsed;
}

// What a store of XML documents would do: parse the document, read its items.
void ReadThroughExpat(benchmark::State& state, const std::string& file, int count) {
    for (auto _ : state) {
        Items items;
        if (!ParseWithExpat(ReadFile(file), items)) {
            state.SkipWithError("cannot parse the document");
            break;
        }
        for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
            benchmark::DoNotOptimize(std::atoi(items[g_keys[i]].c_str()));
        }
    }
}

// Checks a document and makes its items, as publishing does.
void ParseDocument(benchmark::State& state, const std::string& document) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(PolicyStore::ParseDocument(document, "benchmark"));
    }
}

void ParseWithBareExpat(benchmark::State& state, const std::string& document) {
    for (auto _ : state) {
        Items items;
        if (!ParseWithExpat(document, items)) {
            state.SkipWithError("cannot parse the document");
            break;
        }
        benchmark::DoNotOptimize(items);
    }
}

// Fills a store with the policies of ids 1 to kManyIds. Most are hard links, because only the size
// of the directory matters.
void FillStore(const StoreForBench& store) {
    constexpr int kLinksPerFile = 10000;
    for (int id = 1; id <= kManyIds; ++id) {
        if (id == kId) {
            continue;
        }
        if (id % kLinksPerFile == 1) {
            std::filesystem::copy_file(store.File(), store.File(id));
        } else {
            const int original = id - (id - 1) % kLinksPerFile;
            std::filesystem::create_hard_link(store.File(original), store.File(id));
        }
    }
}

// Stores are created on first use and removed when the program ends.
const StoreForBench& SmallPolicy() {
    static const StoreForBench store(Document(4 << 10));
    return store;
}

const StoreForBench& LargePolicy() {
    static const StoreForBench store(Document(1 << 20));
    return store;
}

const StoreForBench& VeryLargePolicy() {
    static const StoreForBench store(Document(15 << 20));
    return store;
}

const StoreForBench& LargeStore() {
    static const std::unique_ptr<const StoreForBench> store = [] {
        auto made = std::make_unique<StoreForBench>(Document(4 << 10));
        FillStore(*made);
        return made;
    }();
    return *store;
}

const std::string& DocumentFile() {
    static const TemporaryDirectory directory;
    static const std::string file = [] {
        WriteFile(directory / "policy.xml", Document(4 << 10));
        return directory / "policy.xml";
    }();
    return file;
}

template <class Run>
void Register(const std::string& name, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), run);
}

int RegisterAll() {
    using State = benchmark::State;
    for (const int count : {1, kItemsRead}) {
        const std::string items = count == 1 ? "/1-item" : "/66-items";
        const auto through = [count](const StoreForBench& (*store)()) {
            return [store, count](State& state) { ReadThroughZnXml(state, store(), count); };
        };
        Register("read/ours" + items, through(SmallPolicy));
        Register("read/system-calls" + items,
                 [](State& state) { ReadWholeFile(state, SmallPolicy().File(), [] {}); });
        Register("read/table" + items, [count](State& state) {
            ReadAndLookUp(state, SmallPolicy().File(), {g_keys.begin(), g_keys.begin() + count});
        });
        Register("read/expat" + items,
                 [count](State& state) { ReadThroughExpat(state, DocumentFile(), count); });
        Register("policy-of/4-KiB" + items, through(SmallPolicy));
        Register("policy-of/1-MiB" + items, through(LargePolicy));
        Register("policy-of/15-MiB" + items, through(VeryLargePolicy));
        Register("store-of/1-id" + items, through(SmallPolicy));
        Register("store-of/100000-ids" + items, through(LargeStore));
    }
    Register("item-of/1-MiB/loaded", [](State& state) { ReadLoaded(state, LargePolicy()); });
    Register("item-of/15-MiB/loaded", [](State& state) { ReadLoaded(state, VeryLargePolicy()); });
    Register("parse/ours/1-MiB", [](State& state) { ParseDocument(state, Document(1 << 20)); });
    Register("parse/expat/1-MiB",
             [](State& state) { ParseWithBareExpat(state, Document(1 << 20)); });
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
