#include "BandwidthCheck.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "ItemReference.h"
#include "RedirectionModules.h"

namespace {

constexpr int kLargestKilobits = INT_MAX / kBytesPerKilobit;

class BandwidthChecker {
   public:
    BandwidthChecker(const PolicyItems& policy, PolicyReport& report)
        : policy_(policy), report_(report) {}

    void Check() {
        const PolicyStore::Item* const first = FirstBandwidthItem();
        if (first == nullptr) {
            return;
        }
        for (const char* key : {"TotalBandwidthSpecified", "TotalBandwidth"}) {
            if (!policy_.Has(key)) {
                report_.AddMissing(FindingCode::kMissingItem, key, *first,
                                   "no module has an allowance");
            }
        }
        const auto isTotal = policy_.Number("TotalBandwidthSpecified");
        const auto bandwidth = policy_.Number("TotalBandwidth");
        const bool isRead = isTotal && bandwidth;
        const int total = isRead && *isTotal != 0 && *bandwidth > 0 ? *bandwidth : 0;
        std::int64_t shares = 0;
        for (const ModuleItems& names : BandwidthModules()) {
            if (names.module == kTotalBandwidth) {
                CheckTotal(names, isRead);
            } else if (IsComplete(names) && isRead) {
                shares += CheckModule(names, total);
            }
        }
        if (total != 0 && shares > total) {
            report_.Add(FindingCode::kOverCommitted, *policy_.Find("TotalBandwidth"),
                        "the shares in force add up to " + std::to_string(shares) +
                            " kbit/s; TotalBandwidth is " + std::to_string(total));
        }
    }

   private:
    const PolicyStore::Item* FirstBandwidthItem() const {
        const PolicyStore::Item* first = nullptr;
        for (const ModuleItems& names : BandwidthModules()) {
            for (const std::string* key : KeysOf(names)) {
                const PolicyStore::Item* const item = policy_.Find(*key);
                if (item != nullptr && (first == nullptr || item < first)) {
                    first = item;
                }
            }
        }
        return first;
    }

    static std::vector<const std::string*> KeysOf(const ModuleItems& names) {
        return {&names.bandwidthSpecified, &names.bandwidth, &names.bandwidthPercentSpecified,
                &names.bandwidthPercent};
    }

    // Whether the module has four numbers. If it has only some of the items, reports the others.
    bool IsComplete(const ModuleItems& names) {
        const std::vector<const std::string*> keys = KeysOf(names);
        const auto present = std::find_if(
            keys.begin(), keys.end(), [&](const std::string* key) { return policy_.Has(*key); });
        if (present == keys.end()) {
            return false;
        }
        for (const std::string* key : keys) {
            if (!policy_.Has(*key)) {
                report_.AddMissing(FindingCode::kMissingItem, *key, *policy_.Find(**present),
                                   names.module + " has no allowance");
            }
        }
        return std::all_of(keys.begin(), keys.end(), [&](const std::string* key) {
            return policy_.Number(*key).has_value();
        });
    }

    void CheckTotal(const ModuleItems& names, bool isRead) {
        if (isRead) {
            CheckFlaggedValue(names.bandwidthSpecified, names.bandwidth);
            if (policy_.Number(names.bandwidthSpecified) != 0) {
                CheckProduct(names.bandwidth, *policy_.Number(names.bandwidth));
            }
        }
        for (const std::string& key : {names.bandwidthPercentSpecified, names.bandwidthPercent}) {
            if (IsSensible(policy_, key) && policy_.Number(key) != 0) {
                report_.AddNoEffect(*policy_.Find(key), "the total has no share");
            }
        }
    }

    // Reports a value other than 0 whose flag is 0, and a value of 0 whose flag is not.
    void CheckFlaggedValue(const std::string& flag, const std::string& key) {
        if (!IsSensible(policy_, key)) {
            return;
        }
        if (policy_.Number(flag) == 0 && policy_.Number(key) != 0) {
            report_.AddNoEffect(*policy_.Find(key), flag + " is 0");
        } else if (policy_.Number(flag) != 0 && policy_.Number(key) == 0) {
            report_.AddNoEffect(*policy_.Find(key), "0 is no limit");
        }
    }

    void CheckProduct(const std::string& key, std::int64_t kilobits) {
        if (kilobits > kLargestKilobits) {
            report_.Add(FindingCode::kOverflow, *policy_.Find(key),
                        key + ": " + std::to_string(kilobits) +
                            " kbit/s in bytes per second do not fit 32 bits; the product wraps");
        }
    }

    // Returns the share of the module in kbit/s if that is its limit, else 0.
    std::int64_t CheckModule(const ModuleItems& names, int total) {
        CheckFlaggedValue(names.bandwidthSpecified, names.bandwidth);
        CheckFlaggedValue(names.bandwidthPercentSpecified, names.bandwidthPercent);
        const int absolute =
            policy_.Number(names.bandwidthSpecified) != 0 ? *policy_.Number(names.bandwidth) : 0;
        const std::int64_t share = CheckShare(names, total);
        if (share > 0 && (absolute == 0 || share < absolute)) {
            CheckProduct(names.bandwidthPercent, share);
            return share;
        }
        CheckProduct(names.bandwidth, absolute);
        return 0;
    }

    // Returns the share of the module in kbit/s, or 0 if it has none.
    std::int64_t CheckShare(const ModuleItems& names, int total) {
        const std::string& key = names.bandwidthPercent;
        const int percent = *policy_.Number(key);
        if (policy_.Number(names.bandwidthPercentSpecified) == 0 || percent == 0 ||
            !IsSensible(policy_, key)) {
            return 0;
        }
        if (total == 0) {
            report_.AddNoEffect(*policy_.Find(key), "there is no total");
            return 0;
        }
        const std::int64_t product = std::int64_t{percent} * total;
        if (product > INT_MAX) {
            report_.Add(FindingCode::kOverflow, *policy_.Find(key),
                        key + ": " + std::to_string(percent) + " times the total of " +
                            std::to_string(total) +
                            " kbit/s does not fit 32 bits; the product wraps");
            return 0;
        }
        if (product < 100) {
            report_.AddNoEffect(*policy_.Find(key), std::to_string(percent) + " % of " +
                                                        std::to_string(total) +
                                                        " kbit/s is below one unit");
        }
        return product / 100;
    }

    const PolicyItems& policy_;
    PolicyReport& report_;
};

}  // namespace

void CheckBandwidth(const PolicyItems& policy, PolicyReport& report) {
    BandwidthChecker(policy, report).Check();
}
