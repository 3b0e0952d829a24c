// Collects the findings of one policy while it is checked.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Findings.h"
#include "PolicyDocument.h"
#include "PolicyStore.h"

// A finding and its place in the document.
struct PlacedFinding {
    PolicyFinding finding;
    std::size_t offset;
};

class PolicyReport {
   public:
    // `places` are those of `items`. Both must outlive this object, and `items` must contain the
    // items that are reported.
    PolicyReport(const std::vector<PolicyStore::Item>& items, const std::vector<ItemPlace>& places)
        : items_(items), places_(places) {}

    // Adds a finding about an item, and its place.
    void Add(FindingCode code, const PolicyStore::Item& item, std::string message,
             std::string suggestion = "");

    // Adds a finding about an item, with the place of byte `offset` of its value.
    void AddInside(FindingCode code, const PolicyStore::Item& item, std::size_t offset,
                   std::string message, std::string suggestion = "");

    // Adds the finding that `missing` is missing, with the place of `present`, which needs it.
    void AddMissing(FindingCode code, const std::string& missing, const PolicyStore::Item& present,
                    const std::string& consequence);

    // Adds the finding that an item has no effect.
    void AddNoEffect(const PolicyStore::Item& item, const std::string& reason);

    // Returns the findings in document order.
    std::vector<PlacedFinding> Take();

   private:
    const ItemPlace& PlaceOf(const PolicyStore::Item& item) const;

    const std::vector<PolicyStore::Item>& items_;
    const std::vector<ItemPlace>& places_;
    std::vector<PlacedFinding> findings_;
};
