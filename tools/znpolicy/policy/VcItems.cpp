#include "VcItems.h"

#include <array>
#include <cstdio>

#include "PluginListCheck.h"
#include "Table.h"

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
    // The component that loads the plugin defines what the fields mean: they are numbered as in the
    // list.
    Table table({"FIELD 1", "FIELD 2", "FIELD 3", "FIELD 4", "FIELD 5", "FIELD 6", "FIELD 7"});
    for (const VekVcItems& item : items) {
        table.AddRow({item.text1, item.text2, Hex(item.hexValue1), Hex(item.hexValue2), item.text3,
                      item.text4, item.text5});
    }
    table.Print();
}

std::string DescribeVcProblem(const std::string& list) {
    const PluginListReport report = CheckPluginList(list);
    const PluginListProblem* const failure = report.Failure();
    return failure == nullptr ? "" : failure->message;
}
