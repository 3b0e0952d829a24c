#include "PolicyItems.h"

#include "PolicyNumber.h"

PolicyItems::PolicyItems(const std::vector<PolicyStore::Item>& items) {
    for (const PolicyStore::Item& item : items) {
        items_.emplace(item.key, &item);
    }
}

const PolicyStore::Item* PolicyItems::Find(std::string_view name) const {
    const auto found = items_.find(name);
    return found == items_.end() ? nullptr : found->second;
}

std::optional<std::string> PolicyItems::Text(std::string_view name) const {
    const PolicyStore::Item* const item = Find(name);
    return item == nullptr ? std::nullopt : std::optional(item->value);
}

std::vector<ItemText> PolicyItems::Texts(const std::vector<std::string>& names) const {
    std::vector<ItemText> texts;
    texts.reserve(names.size());
    for (const std::string& name : names) {
        texts.push_back({name, Text(name)});
    }
    return texts;
}

std::optional<int> PolicyItems::Number(std::string_view name) const {
    const PolicyStore::Item* const item = Find(name);
    return item == nullptr ? std::nullopt : PolicyNumber(item->value);
}

std::string PolicyItems::WhyNoNumber(const std::string& name) const {
    return name + (Has(name) ? " is not a number" : " is missing");
}

std::string PolicyItems::WhyNotAll(const std::vector<std::string>& names) const {
    for (const std::string& name : names) {
        if (!Number(name)) {
            return WhyNoNumber(name);
        }
    }
    return "";
}
