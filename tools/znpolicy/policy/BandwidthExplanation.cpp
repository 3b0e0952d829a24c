#include "BandwidthExplanation.h"

#include <climits>
#include <cstdint>
#include <utility>

#include "ItemReference.h"
#include "RedirectionModules.h"

namespace {

// Multiplies as the library does: only the low 32 bits of the product remain.
int WrappingProduct(int a, int b) {
    return static_cast<int>(static_cast<std::uint32_t>(std::int64_t{a} * b));
}

bool Wraps(int a, int b) {
    const std::int64_t product = std::int64_t{a} * b;
    return product < INT_MIN || product > INT_MAX;
}

// The four numbers of a module.
struct Limits {
    int bandwidthSpecified;
    int bandwidth;
    int percentSpecified;
    int percent;
};

void AddReason(ExplainedModule& module, const std::string& reason) {
    module.reason += (module.reason.empty() || reason.empty() ? "" : "; ") + reason;
}

// Gives the module the allowance of `kilobits`.
void Allow(ExplainedModule& module, const std::string& limit, int kilobits) {
    module.limit = limit;
    module.bytesPerSecond = WrappingProduct(kilobits, kBytesPerKilobit);
    if (Wraps(kilobits, kBytesPerKilobit)) {
        AddReason(module,
                  std::to_string(kilobits) + " kbit/s in bytes per second wraps at 32 bits");
    }
}

// Says why the percentage does not count, or "".
std::string WhyNoShare(const Limits& limits, int total) {
    if (limits.percentSpecified == 0) {
        return "no percentage specified";
    }
    if (limits.percent == 0) {
        return "percentage 0 ignored";
    }
    if (limits.percent > 100) {
        return "percentage " + std::to_string(limits.percent) + " is above 100: ignored";
    }
    return total == 0 ? "no total: percentage ignored" : "";
}

// Explains a module without a share.
void ExplainAbsolute(ExplainedModule& module, const Limits& limits, const std::string& whyNoShare) {
    const int absolute = module.absolute.value_or(0);
    if (absolute > 0) {
        module.reason = limits.percentSpecified == 0 ? "" : whyNoShare;
        Allow(module, "absolute", absolute);
        return;
    }
    const std::string value = absolute < 0 ? "negative" : "0";
    module.reason = module.absolute ? "absolute limit is " + value + ", " + whyNoShare
                                    : "no absolute limit, " + whyNoShare;
}

// Says why a module with a share gets its limit; "" if that is obvious.
std::string WhyLimit(int absolute, int product, int total) {
    if (absolute < 0) {
        return "absolute limit is negative: no limit";
    }
    const std::string kept =
        absolute == 0 ? ": no limit" : ": absolute limit " + std::to_string(absolute) + " kept";
    if (product < 0) {
        return "share is negative" + kept;
    }
    if (product < 100) {
        return "share of " + std::to_string(total) + " is below one unit" + kept;
    }
    if (absolute == 0) {
        return "";
    }
    return product / 100 < absolute ? "share is the smaller limit"
                                    : "absolute limit is the smaller one";
}

// Explains a module with a share; `product` is its percentage times `total`, wrapped.
void ExplainShare(ExplainedModule& module, int absolute, int product, int total) {
    const int share = product / 100;
    module.share = share;
    AddReason(module, WhyLimit(absolute, product, total));
    const bool shareWins = absolute == 0 || (product >= 100 && share < absolute);
    const int limit = shareWins ? share : absolute;
    if (limit > 0) {
        Allow(module, shareWins ? "share" : "absolute", limit);
    }
}

void ExplainLimits(ExplainedModule& module, const Limits& limits, int total) {
    if (limits.bandwidthSpecified != 0) {
        module.absolute = limits.bandwidth;
    }
    const int absolute = module.absolute.value_or(0);
    const std::string whyNoShare = WhyNoShare(limits, total);
    if (!whyNoShare.empty()) {
        ExplainAbsolute(module, limits, whyNoShare);
        return;
    }
    if (Wraps(limits.percent, total)) {
        AddReason(module, std::to_string(limits.percent) + " times " + std::to_string(total) +
                              " wraps at 32 bits");
    }
    ExplainShare(module, absolute, WrappingProduct(limits.percent, total), total);
}

void ExplainTotal(ExplainedModule& module, int specified, int bandwidth) {
    if (specified != 0) {
        module.absolute = bandwidth;
    }
    if (specified == 0) {
        module.reason = "TotalBandwidthSpecified is 0";
    } else if (bandwidth <= 0) {
        module.reason = "TotalBandwidth is " + std::to_string(bandwidth);
    } else {
        Allow(module, "total", bandwidth);
    }
}

}  // namespace

std::vector<ExplainedModule> ExplainBandwidth(const PolicyItems& policy) {
    const std::string noTotal = policy.WhyNotAll({"TotalBandwidthSpecified", "TotalBandwidth"});
    const int specified = policy.Number("TotalBandwidthSpecified").value_or(0);
    const int bandwidth = policy.Number("TotalBandwidth").value_or(0);
    const int total = specified != 0 && bandwidth > 0 ? bandwidth : 0;
    std::vector<ExplainedModule> modules;
    for (const ModuleItems& names : BandwidthModules()) {
        const std::vector<std::string> keys = {names.bandwidthSpecified, names.bandwidth,
                                               names.bandwidthPercentSpecified,
                                               names.bandwidthPercent};
        ExplainedModule module;
        module.module = names.module;
        module.items = policy.Texts(keys);
        const std::string incomplete = policy.WhyNotAll(keys);
        if (!noTotal.empty()) {
            module.reason = noTotal + ": no module has an allowance";
        } else if (names.module == kTotalBandwidth) {
            ExplainTotal(module, specified, bandwidth);
        } else if (!incomplete.empty()) {
            module.reason = incomplete + ": module ignored";
        } else {
            ExplainLimits(module,
                          {*policy.Number(keys[0]), *policy.Number(keys[1]),
                           *policy.Number(keys[2]), *policy.Number(keys[3])},
                          total);
        }
        modules.push_back(std::move(module));
    }
    return modules;
}
