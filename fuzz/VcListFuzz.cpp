// Any text as a virtual-channel list, compared with a literal version of the list's rules.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Check.h"
#include "RecordingLogger.h"
#include "ZnVcVek.h"

// The pieces between separators; none when the text begins with one.
static std::vector<std::string> Pieces(std::string text, char separator) {
    std::vector<std::string> pieces;
    const std::string twice(2, separator);
    for (size_t at = text.find(twice); at != std::string::npos; at = text.find(twice, at)) {
        text.erase(at, 1);
    }
    if (text.empty() || text.front() == separator) {
        return pieces;
    }
    if (text.back() != separator) {
        text += separator;
    }
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string::npos;
         end = text.find(separator, start)) {
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

// The field texts of every item; sets `sound` to whether the list is valid.
static std::vector<std::vector<std::string>> ItemsOf(const std::string& list, bool& sound) {
    std::vector<std::vector<std::string>> items;
    sound = list.size() >= 2;
    if (!sound) {
        return items;
    }
    for (std::string item : Pieces(list, ',')) {
        std::replace(item.begin(), item.end(), '{', '@');
        std::replace(item.begin(), item.end(), '}', '@');
        const std::vector<std::string> fields = Pieces(item, '@');
        sound = fields.size() >= 7 &&
                std::all_of(fields.begin(), fields.end(), [](const std::string& field) {
                    return !field.empty() && field.size() <= 31;
                });
        if (!sound) {
            return {};
        }
        items.push_back(fields);
    }
    return items;
}

static int32_t Hexadecimal(const std::string& text) {
    return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 16));
}

// Checks the whole field: the text up to its first NUL, then zeros.
static void CheckField(const char (&field)[32], const std::string& text) {
    char expected[32] = {};
    std::strncpy(expected, text.c_str(), sizeof expected);
    CHECK(std::memcmp(field, expected, sizeof expected) == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string list(reinterpret_cast<const char*>(data), size);
    RecordingLogger::Clear();

    std::vector<VekVcItems> items(2);
    const int result = ZnVcVek::ZnParseVekVcItems(list, items);

    bool sound = false;
    const std::vector<std::vector<std::string>> expected = ItemsOf(list, sound);
    CHECK(result == (sound ? kSuccess : kFailure));
    CHECK(RecordingLogger::Records().size() == (sound ? 0 : 1));
    CHECK(items.size() == expected.size());
    for (size_t i = 0; i < items.size(); ++i) {
        CheckField(items[i].text1, expected[i][0]);
        CheckField(items[i].text2, expected[i][1]);
        CHECK(items[i].hexValue1 == Hexadecimal(expected[i][2]));
        CHECK(items[i].hexValue2 == Hexadecimal(expected[i][3]));
        CheckField(items[i].text3, expected[i][4]);
        CheckField(items[i].text4, expected[i][5]);
        CheckField(items[i].text5, expected[i][6]);
    }
    return 0;
}
