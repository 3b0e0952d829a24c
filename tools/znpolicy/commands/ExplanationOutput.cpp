#include "ExplanationOutput.h"

#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Table.h"

namespace {

Json ItemsToJson(const std::vector<ItemText>& items) {
    Json array = Json::array();
    for (const ItemText& item : items) {
        array.push_back({{"item", item.item}, {"text", item.text ? Json(*item.text) : Json()}});
    }
    return array;
}

std::string ItemsToText(const std::vector<ItemText>& items) {
    std::string text;
    for (const ItemText& item : items) {
        text += (text.empty() ? "" : " ") + item.item +
                (item.text ? "=\"" + *item.text + "\"" : " missing");
    }
    return text;
}

std::string RawTexts(const std::vector<ItemText>& items) {
    std::string text;
    for (const ItemText& item : items) {
        text += (text.empty() ? "" : " ") + (item.text ? "\"" + *item.text + "\"" : "-");
    }
    return text;
}

Json ToJson(const std::optional<int>& number) {
    return number ? Json(*number) : Json();
}

std::string ToText(const std::optional<int>& number) {
    return number ? std::to_string(*number) : "-";
}

std::string ValueText(const Json& value) {
    return value.is_string() ? "\"" + value.get<std::string>() + "\"" : value.dump();
}

}  // namespace

Json ExplanationToJson(int id, const Explanation& explanation) {
    Json settings = Json::array();
    for (const ExplainedSetting& setting : explanation.settings) {
        settings.push_back({{"setting", setting.name},
                            {"value", setting.value},
                            {"items", ItemsToJson(setting.items)},
                            {"reason", setting.reason}});
    }
    Json modules = Json::array();
    for (const ExplainedModule& module : explanation.modules) {
        modules.push_back({{"module", module.module},
                           {"bytesPerSecond", module.bytesPerSecond},
                           {"bytesPerMillisecond", module.bytesPerSecond / 1000},
                           {"absolute", ToJson(module.absolute)},
                           {"share", ToJson(module.share)},
                           {"limit", module.limit},
                           {"items", ItemsToJson(module.items)},
                           {"reason", module.reason}});
    }
    return {{"id", id}, {"settings", std::move(settings)}, {"bandwidth", std::move(modules)}};
}

void PrintExplanation(const Explanation& explanation) {
    Table settings({"SETTING", "VALUE", "REASON", "ITEMS"});
    for (const ExplainedSetting& setting : explanation.settings) {
        settings.AddRow({setting.name, ValueText(setting.value),
                         setting.reason.empty() ? "-" : setting.reason,
                         ItemsToText(setting.items)});
    }
    settings.Print();
    std::cout << "\nLimits in kbit/s. ITEMS are BandwidthSpecified, Bandwidth, "
                 "BandwidthPercentSpecified, BandwidthPercent.\n";
    Table modules({"MODULE", "BYTES/S", "ABSOLUTE", "SHARE", "LIMIT", "REASON", "ITEMS"});
    for (const ExplainedModule& module : explanation.modules) {
        modules.AddRow({module.module, std::to_string(module.bytesPerSecond),
                        ToText(module.absolute), ToText(module.share), module.limit,
                        module.reason.empty() ? "-" : module.reason, RawTexts(module.items)});
    }
    modules.Print();
}
