#include "ZnBandwidthPolicy.h"

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

// The framework's name of a module, reduced to the plain name that the table knows.
static std::string PlainModuleName(const char* moduleName) {
    static const char* const kPrefixed[] = {"ZnAudio",   "ZnCamera",  "ZnClipboard", "ZnDisplay",
                                            "ZnFdRedir", "ZnPrinter", "ZnTotal"};
    std::string key(moduleName);
    if (key.find("Zn") == std::string::npos) {
        return key;
    }
    for (const char* prefixed : kPrefixed) {
        if (key.find(prefixed) != std::string::npos) {
            return prefixed + 2;
        }
    }
    return key;
}

int ZnBandwidthPolicy::GetBandwidthBytesPerSec(const char* moduleName) {
    return moduleName == nullptr ? 0 : private_->Allowance(PlainModuleName(moduleName));
}

int ZnBandwidthPolicy::GetBandwidthBytesPerMs(const char* moduleName) {
    return GetBandwidthBytesPerSec(moduleName) / 1000;
}
