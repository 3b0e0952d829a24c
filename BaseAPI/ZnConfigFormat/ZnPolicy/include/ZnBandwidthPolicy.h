// Bandwidth policy: the allowed throughput of each redirection module of a terminal.
#pragma once

#include <memory>
#include <string>

#include "PolicyCfgItemValue.h"
#include "ZnExport.h"

class ZnBandwidthPolicyPrivate;

// A table of allowances, read from the policy store once and queried any number of times. An object
// belongs to one thread at a time: a caller that queries it while another thread reads the policy
// serialises the calls itself.
class ZN_API ZnBandwidthPolicy {
   public:
    // An empty table: every query answers 0.
    ZnBandwidthPolicy();
    ~ZnBandwidthPolicy();

    ZnBandwidthPolicy(const ZnBandwidthPolicy&) = delete;
    ZnBandwidthPolicy& operator=(const ZnBandwidthPolicy&) = delete;

    // Replaces the table by what the current policy of `terminalId` gives. A missing policy, or one
    // without "TotalBandwidthSpecified" or "TotalBandwidth", leaves the table empty. A module
    // counts only when all four of its items are present. Logs the id at level 3 and each of the
    // three failures at level 1.
    void ReadBandwidthPolicy(int terminalId);

    // Works out the allowance of `moduleName` from its items and stores it: the absolute bandwidth
    // or the share of `totalBandwidth` (kilobits per second, 0 or less for no total), whichever is
    // smaller, a share of less than one unit never replacing an absolute bandwidth. Each counts
    // only when its flag is not 0, a percentage of 0 or above 100 never. A result of 0 or less
    // stores nothing. For "Total" the items do not matter: a `totalBandwidth` above 0 is stored.
    // Products wrap at 32 bits. `item` is only read. Returns 0. Logs nothing.
    int CalculateModuleAllowedBandwidth(int totalBandwidth, std::string moduleName,
                                        PolicyCfgItemValue& item);

    // The allowance of a module in bytes per second, or 0 when it has none. A name that contains
    // "ZnAudio", "ZnCamera", "ZnClipboard", "ZnDisplay", "ZnFdRedir", "ZnPrinter" or "ZnTotal"
    // anywhere stands for the module of that name without "Zn"; every other name is taken as it is.
    // A null name answers 0. Logs nothing.
    int GetBandwidthBytesPerSec(const char* moduleName);

    // The same allowance in bytes per millisecond, truncated toward zero.
    int GetBandwidthBytesPerMs(const char* moduleName);

   private:
    std::unique_ptr<ZnBandwidthPolicyPrivate> private_;
};
