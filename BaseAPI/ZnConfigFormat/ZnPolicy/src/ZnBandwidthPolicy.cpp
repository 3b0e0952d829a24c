#include "ZnBandwidthPolicy.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "ZnBandwidthPolicyPrivate.h"
#include "ZnLog.h"
#include "ZnXml.h"
#include "bounded.h"

static const std::string TOTAL_BANDWIDTH_CFG_NAME = "Total";

ZnBandwidthPolicy::ZnBandwidthPolicy() : private_(std::make_unique<ZnBandwidthPolicyPrivate>()) {}

ZnBandwidthPolicy::~ZnBandwidthPolicy() = default;

void ZnBandwidthPolicy::ReadBandwidthPolicy(int terminalId) {
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    ZnXml xml;
    PolicyCfgItemValue item;
    memset_s(&item, sizeof item, 0, sizeof item);
    private_->Clear();  // before anything is read: a failure below leaves no old allowance behind
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
        private_->SetAllowance(TOTAL_BANDWIDTH_CFG_NAME, total);
    }
    private_->ReadSubs(xml, item, total);
}

int ZnBandwidthPolicy::CalculateModuleAllowedBandwidth(int totalBandwidth, std::string moduleName,
                                                       PolicyCfgItemValue& item) {
    return private_->CalculateModuleAllowedBandwidthPrivate(totalBandwidth, std::move(moduleName),
                                                            item);
}

// The plain name of a module. A name that contains "Zn" and one of these names, side by side and
// anywhere, stands for that module; of several, the first in this list counts.
static std::string_view PlainModuleName(std::string_view name) {
    constexpr std::string_view kPrefixed[] = {"Audio",   "Camera",  "Clipboard", "Display",
                                              "FdRedir", "Printer", "Total"};
    constexpr std::string_view kPrefix = "Zn";
    size_t first = std::size(kPrefixed);
    for (size_t at = name.find(kPrefix); at != std::string_view::npos;
         at = name.find(kPrefix, at + 1)) {
        const std::string_view rest = name.substr(at + kPrefix.size());
        for (size_t i = 0; i < first; ++i) {
            if (rest.substr(0, kPrefixed[i].size()) == kPrefixed[i]) {
                first = i;
            }
        }
    }
    return first < std::size(kPrefixed) ? kPrefixed[first] : name;
}

int ZnBandwidthPolicy::GetBandwidthBytesPerSec(const char* moduleName) {
    return moduleName == nullptr ? 0 : private_->Allowance(PlainModuleName(moduleName));
}

int ZnBandwidthPolicy::GetBandwidthBytesPerMs(const char* moduleName) {
    return GetBandwidthBytesPerSec(moduleName) / 1000;
}
