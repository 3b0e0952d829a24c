// The parser of plugin lists, compared with a literal version of its rules over random texts: same
// results, items and log records.
#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "PolicyTest.h"
#include "Random.h"
#include "VcItemRecord.h"
#include "ZnVcVek.h"

namespace {

// --- The literal version ---

// Erases the second of two adjacent separators, in passes over the string until nothing changes.
void CollapseRuns(std::string& str, char sep) {
    bool changed = true;
    while (changed) {
        changed = false;
        for (size_t i = 1; i < str.size(); ++i) {
            if (str[i - 1] == sep && str[i] == sep) {
                str.erase(i, 1);
                changed = true;
            }
        }
    }
}

void LiteralSplit(std::string str, char sep, std::vector<std::string>& out) {
    CollapseRuns(str, sep);
    if (str.empty()) {
        return;
    }
    if (str.back() != sep) {
        str.push_back(sep);
    }
    out.clear();
    size_t start = 0;
    size_t found = str.find(sep);
    while (start < str.size() && found != std::string::npos && found > start) {
        const std::string piece = str.substr(start, found - start);
        if (!piece.empty()) {
            out.push_back(piece);
        }
        start = found + 1;
        found = str.find(sep, start);
    }
}

struct Outcome {
    int result;
    std::vector<VekVcItems> items;
    std::vector<Logged> records;
};

Outcome Failed(const Logged& record) {
    return {-10000, {}, {record}};
}

// Texts and numbers end at an embedded NUL.
std::string UpToZeroByte(const std::string& field) {
    return field.substr(0, field.find('\0'));
}

int32_t Hex(const std::string& field) {
    return static_cast<int32_t>(std::strtol(field.c_str(), nullptr, 16));
}

Outcome LiteralParse(const std::string& text) {
    if (text.size() < 2) {
        return Failed(Failure("ZnParseVekVcItems", "invalid:key/vekVcStr"));
    }
    Outcome outcome = {0, {}, {}};
    std::vector<std::string> pieces;
    LiteralSplit(text, ',', pieces);
    for (std::string piece : pieces) {
        std::replace(piece.begin(), piece.end(), '{', '@');
        std::replace(piece.begin(), piece.end(), '}', '@');
        std::vector<std::string> fields;
        LiteralSplit(piece, '@', fields);
        if (fields.size() < 7) {
            return Failed(Progress("ZnParseVekVcItems",
                                   "Invalid:policy.size=" + std::to_string(fields.size())));
        }
        for (size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].empty() || fields[i].size() > 31) {
                return Failed(Progress("ZnParseVekVcItems",
                                       "Invalid:policy[" + std::to_string(i) +
                                           "].size=" + std::to_string(fields[i].size())));
            }
        }
        outcome.items.push_back(Item(UpToZeroByte(fields[0]), UpToZeroByte(fields[1]),
                                     Hex(fields[2]), Hex(fields[3]), UpToZeroByte(fields[4]),
                                     UpToZeroByte(fields[5]), UpToZeroByte(fields[6])));
    }
    return outcome;
}

// --- Random texts ---

class RandomText {
   public:
    std::string Next() {
        return random_.OneIn(4) ? Noise() : List();
    }

   private:
    // Mostly one separator, sometimes a run of up to 39.
    std::string Run(const std::string& marks) {
        const size_t length = !random_.OneIn(8)  ? 1
                              : random_.OneIn(4) ? 30 + random_.Below(10)
                                                 : 1 + random_.Below(5);
        std::string run;
        while (run.size() < length) {
            run.push_back(random_.OneOf(marks));
        }
        return run;
    }

    // Some words have about the maximum length of a field.
    std::string Word() {
        const std::string letters("aF09xX-+ gz\t\0\xff", 14);
        const size_t length = random_.OneIn(40) ? 29 + random_.Below(5) : 1 + random_.Below(4);
        std::string word;
        while (word.size() < length) {
            word.push_back(random_.OneOf(letters));
        }
        return word;
    }

    std::string ListItem() {
        std::string item = random_.OneIn(40) ? Run("@{}") : "";
        const size_t fields = random_.OneIn(20) ? random_.Below(7) : 7 + random_.Below(3);
        for (size_t i = 0; i < fields; ++i) {
            item += (i == 0 ? "" : Run("@@@{}")) + Word();
        }
        return item + (random_.OneIn(4) ? Run("@{}") : "");
    }

    // Usually valid.
    std::string List() {
        std::string list = random_.OneIn(40) ? Run(",") : "";
        for (size_t items = 1 + random_.Below(4); items > 0; --items) {
            list += ListItem() + (items > 1 || random_.OneIn(4) ? Run(",") : "");
        }
        return list;
    }

    // Rarely valid.
    std::string Noise() {
        std::string noise;
        for (size_t parts = random_.Below(25); parts > 0; --parts) {
            noise += random_.OneIn(2) ? Word() : Run(random_.OneOf("ab") == 'a' ? "," : "@{}");
        }
        return noise;
    }

    Random random_;
};

}  // namespace

class VcSplitProperty : public PolicyTest {};

TEST_F(VcSplitProperty, AgreesWithLiteralVersion) {
    constexpr int kTexts = 200000;
    RandomText texts;
    int parsed = 0;
    int empty = 0;
    int tooFewFields = 0;
    int tooLong = 0;
    for (int i = 0; i < kTexts; ++i) {
        const std::string text = texts.Next();
        const Outcome expected = LiteralParse(text);

        RecordingLogger::Clear();
        std::vector<VekVcItems> items(1, Item("old", "old", 1, 2, "old", "old", "old"));
        ASSERT_EQ(ZnVcVek::ZnParseVekVcItems(text, items), expected.result)
            << testing::PrintToString(text);
        ASSERT_EQ(items, expected.items) << testing::PrintToString(text);
        ASSERT_EQ(RecordingLogger::Records(), expected.records) << testing::PrintToString(text);

        if (expected.result == 0) {
            ++(expected.items.empty() ? empty : parsed);
        } else {
            ++(expected.records[0].text.find('[') == std::string::npos ? tooFewFields : tooLong);
        }
    }
    std::cout << parsed << " lists parsed, " << empty << " empty, " << tooFewFields
              << " with too few fields, " << tooLong << " with a field too long\n";
    // Every path was taken often.
    EXPECT_GT(parsed, kTexts / 4);
    EXPECT_GT(empty, kTexts / 200);
    EXPECT_GT(tooFewFields, kTexts / 20);
    EXPECT_GT(tooLong, kTexts / 100);
}

TEST_F(VcSplitProperty, LiteralVersionCollapsesRuns) {
    for (size_t length = 1; length < 200; ++length) {
        std::vector<std::string> pieces;
        LiteralSplit("a" + std::string(length, ',') + "b", ',', pieces);
        EXPECT_THAT(pieces, testing::ElementsAre("a", "b")) << length;
    }
}
