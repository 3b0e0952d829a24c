// Parsing of virtual-channel plugin lists: compared with absl::StrSplit, its growth with the list,
// and texts of almost only separators.
#include <absl/strings/str_split.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ZnVcVek.h"

namespace {

using Parse = int (*)(const std::string& text, std::vector<VekVcItems>& items);

int OurParse(const std::string& text, std::vector<VekVcItems>& items) {
    return ZnVcVek::ZnParseVekVcItems(text, items);
}

template <size_t N>
void CopyText(char (&text)[N], absl::string_view field) {
    std::memcpy(text, field.data(), field.size());
}

int32_t HexValue(absl::string_view field) {
    return static_cast<int32_t>(std::strtol(field.data(), nullptr, 16));  // a separator ends it
}

int AbslParse(const std::string& text, std::vector<VekVcItems>& items) {
    constexpr int kFailure = -10000;
    items.clear();
    if (text.size() < 2) {
        return kFailure;
    }
    if (text.front() == ',') {
        return 0;
    }
    for (const absl::string_view piece : absl::StrSplit(text, ',', absl::SkipEmpty())) {
        const absl::ByAnyChar marks("@{}");
        const std::vector<absl::string_view> fields =
            absl::StrSplit(piece, marks, absl::SkipEmpty());
        if (fields.size() < 7 || fields.front().data() != piece.data()) {
            items.clear();
            return kFailure;
        }
        for (const absl::string_view field : fields) {
            if (field.size() >= sizeof(VekVcItems::text1)) {
                items.clear();
                return kFailure;
            }
        }
        VekVcItems record;
        std::memset(&record, 0, sizeof record);
        CopyText(record.text1, fields[0]);
        CopyText(record.text2, fields[1]);
        record.hexValue1 = HexValue(fields[2]);
        record.hexValue2 = HexValue(fields[3]);
        CopyText(record.text3, fields[4]);
        CopyText(record.text4, fields[5]);
        CopyText(record.text5, fields[6]);
        items.push_back(record);
    }
    return 0;
}

// Typical items, each different, all of the same length.
std::string List(size_t items) {
    std::string text;
    for (size_t i = 0; i < items; ++i) {
        const std::string number = std::to_string(100000 + i);
        text += (i == 0 ? "" : ",") + ("plugin" + number) + "@{channel" + number +
                "}@0x1F@ff@libPlugin" + number + ".so@1.2." + number + "@on demand";
    }
    return text;
}

const std::string kRestOfItem = "channel@0x1F@ff@libPlugin.so@1.2.3@on demand";
const std::string kItem = "plugin@" + kRestOfItem;

// `marks` repeated up to `length`.
std::string Repeated(const std::string& marks, size_t length) {
    std::string run;
    while (run.size() < length) {
        run += marks;
    }
    return run;
}

// Whether `parse` gives the same result as absl.
bool AgreesWithAbsl(Parse parse, const std::string& text) {
    std::vector<VekVcItems> expected;
    std::vector<VekVcItems> items;
    return AbslParse(text, expected) == 0 && parse(text, items) == 0 &&
           items.size() == expected.size() &&
           std::memcmp(items.data(), expected.data(), items.size() * sizeof items[0]) == 0;
}

// The unit of the measured work.
enum class Unit { Bytes, Items };

// Parses into a new vector each time.
void Run(benchmark::State& state, Parse parse, const std::string& text, Unit unit) {
    if (!AgreesWithAbsl(parse, text)) {
        state.SkipWithError("the parsers do not agree on the text");
        return;
    }
    size_t parsed = 0;
    for (auto _ : state) {
        std::vector<VekVcItems> items;
        parse(text, items);
        benchmark::DoNotOptimize(items.data());
        parsed = items.size();
    }
    if (unit == Unit::Bytes) {
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    } else {
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(parsed));
    }
}

void Register(const std::string& name, Parse parse, const std::string& text, Unit unit) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { Run(state, parse, text, unit); });
}

int RegisterAll() {
    for (const size_t items : {1, 10, 1000, 100000}) {
        const std::string suffix = "/" + std::to_string(items) + "-items";
        Register("vc-parse/ours" + suffix, OurParse, List(items), Unit::Bytes);
        Register("vc-parse/absl" + suffix, AbslParse, List(items), Unit::Bytes);
    }
    Register("vc-growth/1000-items/an-item", OurParse, List(1000), Unit::Items);
    Register("vc-growth/100000-items/an-item", OurParse, List(100000), Unit::Items);

    constexpr size_t kMillion = 1000000;
    Register("vc-separators/ordinary/a-byte", OurParse, List(kMillion / 60), Unit::Bytes);
    Register("vc-separators/commas/a-byte", OurParse, kItem + Repeated(",", kMillion) + kItem,
             Unit::Bytes);
    Register("vc-separators/at-signs/a-byte", OurParse,
             "plugin" + Repeated("@", kMillion) + kRestOfItem, Unit::Bytes);
    Register("vc-separators/braces/a-byte", OurParse,
             "plugin" + Repeated("{}", kMillion) + kRestOfItem, Unit::Bytes);
    return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
