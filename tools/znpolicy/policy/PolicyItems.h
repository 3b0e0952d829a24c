// The items of one policy by name, as its readers see them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PolicyStore.h"

// An item with its raw text; nothing if it is missing.
struct ItemText {
    std::string item;
    std::optional<std::string> text;
};

class PolicyItems {
   public:
    // `items` must outlive this object.
    explicit PolicyItems(const std::vector<PolicyStore::Item>& items);

    // Returns null if the item is missing.
    const PolicyStore::Item* Find(std::string_view name) const;

    bool Has(std::string_view name) const {
        return Find(name) != nullptr;
    }

    // Returns nothing if the item is missing.
    std::optional<std::string> Text(std::string_view name) const;
    std::vector<ItemText> Texts(const std::vector<std::string>& names) const;

    // Returns nothing if a reader cannot read the item as an integer.
    std::optional<int> Number(std::string_view name) const;

    // Says why Number() returns nothing: "NAME is missing" or "NAME is not a number".
    std::string WhyNoNumber(const std::string& name) const;

    // Says the same of the first of the items that cannot be read as an integer; "" if all can.
    std::string WhyNotAll(const std::vector<std::string>& names) const;

   private:
    std::unordered_map<std::string_view, const PolicyStore::Item*> items_;
};
