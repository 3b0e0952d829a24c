#include "PolicyReport.h"

#include <algorithm>
#include <utility>

void PolicyReport::Add(FindingCode code, const PolicyStore::Item& item, std::string message,
                       std::string suggestion) {
    findings_.push_back(
        {{code, item.key, std::move(message), std::move(suggestion), {}}, PlaceOf(item).Offset()});
}

void PolicyReport::AddInside(FindingCode code, const PolicyStore::Item& item, std::size_t offset,
                             std::string message, std::string suggestion) {
    findings_.push_back({{code, item.key, std::move(message), std::move(suggestion), {}},
                         PlaceOf(item).OffsetOf(offset)});
}

void PolicyReport::AddMissing(FindingCode code, const std::string& missing,
                              const PolicyStore::Item& present, const std::string& consequence) {
    findings_.push_back({{code, missing, missing + " is missing: " + consequence, "", {}},
                         PlaceOf(present).Offset()});
}

void PolicyReport::AddNoEffect(const PolicyStore::Item& item, const std::string& reason) {
    Add(FindingCode::kNoEffect, item, item.key + " has no effect: " + reason);
}

std::vector<PlacedFinding> PolicyReport::Take() {
    std::stable_sort(
        findings_.begin(), findings_.end(),
        [](const PlacedFinding& a, const PlacedFinding& b) { return a.offset < b.offset; });
    return std::move(findings_);
}

const ItemPlace& PolicyReport::PlaceOf(const PolicyStore::Item& item) const {
    return places_[static_cast<std::size_t>(&item - items_.data())];
}
