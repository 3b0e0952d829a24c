// The items of a policy that the library reads.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Json.h"
#include "ModuleItems.h"
#include "PolicyItems.h"

struct ItemDescription {
    std::string name;
    bool isInteger = false;
    std::string unit;  // "" for none
    // The sensible values of an integer.
    int minimum = 0;
    int maximum = 0;
    std::string range;         // the sensible values in words
    std::string defaultValue;  // what replaces a missing item
    std::string reader;
    std::string needs;             // other items that it has no effect without, or ""
    bool needsPolicyName = false;  // whether the reader looks for "PolicyName" first
    std::string meaning;

    bool Allows(int number) const {
        return number >= minimum && number <= maximum;
    }
};

// All redirection modules, sorted by name, including "Total".
const std::vector<ModuleItems>& BandwidthModules();

const std::vector<ItemDescription>& KnownItems();

// Returns null if no reader uses the name.
const ItemDescription* FindKnownItem(std::string_view name);

// Whether the policy has this known integer item, with a sensible value.
bool IsSensible(const PolicyItems& policy, const std::string& name);

// Returns the known name nearest to `key`, which may differ in case or in a few characters or be in
// a group; "" if none is near.
std::string NearestKnownItem(std::string_view key);

Json ItemToJson(const ItemDescription& item);

// Returns the reference as the document docs/policy-items.md.
std::string ItemsAsMarkdown();
