#include "VcItems.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

#include "EscapeText.h"
#include "Table.h"
#include "VcListFormat.h"

static std::string Hex(int32_t value) {
    std::array<char, 16> text = {};
    std::snprintf(text.data(), text.size(), "0x%x", static_cast<uint32_t>(value));
    return text.data();
}

Json VcItemsToJson(const std::vector<VekVcItems>& items) {
    Json document = Json::array();
    for (const VekVcItems& item : items) {
        document.push_back({{"text1", item.text1},
                            {"text2", item.text2},
                            {"hexValue1", item.hexValue1},
                            {"hexValue2", item.hexValue2},
                            {"text3", item.text3},
                            {"text4", item.text4},
                            {"text5", item.text5}});
    }
    return document;
}

void PrintVcItems(const std::vector<VekVcItems>& items) {
    Table table({"TEXT1", "TEXT2", "HEX1", "HEX2", "TEXT3", "TEXT4", "TEXT5"});
    for (const VekVcItems& item : items) {
        table.AddRow({item.text1, item.text2, Hex(item.hexValue1), Hex(item.hexValue2), item.text3,
                      item.text4, item.text5});
    }
    table.Print();
}

// The non-empty pieces of `text` between any of the separators.
static std::vector<std::string> Pieces(const std::string& text, const char* separators) {
    std::vector<std::string> pieces;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find_first_of(separators, start), text.size());
        if (end > start) {
            pieces.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return pieces;
}

// The beginning of `text` in quotes, short enough for a message.
static std::string Quoted(const std::string& text) {
    constexpr size_t kShown = 60;
    const std::string shown = text.size() > kShown ? text.substr(0, kShown) + "..." : text;
    return "\"" + Escaped(shown) + "\"";
}

// Returns what is wrong with one item, or "".
static std::string ItemProblem(const std::string& item) {
    if (std::string("@{}").find(item.front()) != std::string::npos) {
        return " begins with a separator, so it has no fields";
    }
    const std::vector<std::string> fields = Pieces(item, "@{}");
    if (fields.size() < kVcFieldCount) {
        return " has " + std::to_string(fields.size()) + " fields; " +
               std::to_string(kVcFieldCount) + " are needed";
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].size() > kVcFieldMax) {
            return ", field " + std::to_string(i + 1) + " (" + Quoted(fields[i]) + ") has " +
                   std::to_string(fields[i].size()) + " characters; at most " +
                   std::to_string(kVcFieldMax) + " are allowed";
        }
    }
    return "";
}

std::string DescribeVcProblem(const std::string& list) {
    if (list.size() < 2) {
        return "the list is shorter than 2 characters";
    }
    if (list.front() == ',') {
        return "";  // the library takes it for an empty list
    }
    const std::vector<std::string> items = Pieces(list, ",");
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string problem = ItemProblem(items[i]);
        if (!problem.empty()) {
            return "item " + std::to_string(i + 1) + " (" + Quoted(items[i]) + ")" + problem;
        }
    }
    return "";
}
