#include "ZnBandwidthPolicy.h"

#include <string_view>
#include <utility>

#include "RedirectionModules.h"
#include "ZnBandwidthPolicyPrivate.h"
#include "ZnLog.h"
#include "ZnXml.h"
#include "bounded.h"

ZnBandwidthPolicy::ZnBandwidthPolicy() : private_(std::make_unique<ZnBandwidthPolicyPrivate>()) {}

ZnBandwidthPolicy::~ZnBandwidthPolicy() = default;

void ZnBandwidthPolicy::ReadBandwidthPolicy(int terminalId) {
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    ZnXml xml;
    PolicyCfgItemValue item;
    memset_s(&item, sizeof item, 0, sizeof item);
    private_->Clear();  // first, so that no failure below leaves old allowances
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return;
    }
    if (!xml.GetXmlContent("TotalBandwidthSpecified", item.bandwidthSpecified)) {
        ZN_LOG(LogLevelError, "read total bandwidth specified failed");
        return;
    }
    if (!xml.GetXmlContent("TotalBandwidth", item.bandwidth)) {
        ZN_LOG(LogLevelError, "read total bandwidth failed");
        return;
    }
    int total = 0;
    if (item.bandwidthSpecified != 0 && item.bandwidth > 0) {
        total = item.bandwidth;
        private_->SetAllowance(kTotalBandwidth, total);
    }
    private_->ReadSubs(xml, item, total);
}

int ZnBandwidthPolicy::CalculateModuleAllowedBandwidth(int totalBandwidth, std::string moduleName,
                                                       PolicyCfgItemValue& item) {
    return private_->CalculateModuleAllowedBandwidthPrivate(totalBandwidth, std::move(moduleName),
                                                            item);
}

// Reduces a framework module name, found anywhere in `name`, to the plain name of its module. Of
// several, the first in the list counts.
static std::string_view PlainModuleName(std::string_view name) {
    constexpr std::string_view kPrefix = "Zn";
    for (const std::string_view module : kPrefixedModules) {
        if (name.find(module) != std::string_view::npos) {
            return module.substr(kPrefix.size());
        }
    }
    return name;
}

int ZnBandwidthPolicy::GetBandwidthBytesPerSec(const char* moduleName) {
    return moduleName == nullptr ? 0 : private_->Allowance(PlainModuleName(moduleName));
}

int ZnBandwidthPolicy::GetBandwidthBytesPerMs(const char* moduleName) {
    return GetBandwidthBytesPerSec(moduleName) / 1000;
}
