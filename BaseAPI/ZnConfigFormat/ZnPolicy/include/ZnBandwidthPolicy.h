// Bandwidth policy: the allowed throughput of each redirection module of a terminal.
#pragma once

#include <memory>
#include <string>

#include "PolicyCfgItemValue.h"
#include "ZnExport.h"

class ZnBandwidthPolicyPrivate;

// A table of allowances: read once from the policy store, then queried any number of times. Not
// synchronised: calls on one object from several threads must be serialised by the caller.
class ZN_API ZnBandwidthPolicy {
   public:
    // Makes an empty table: every query returns 0.
    ZnBandwidthPolicy();

    // Releases the table.
    ~ZnBandwidthPolicy();

    // The table is not copied.
    ZnBandwidthPolicy(const ZnBandwidthPolicy&) = delete;
    ZnBandwidthPolicy& operator=(const ZnBandwidthPolicy&) = delete;

    // Replaces the table with the allowances from the policy of `terminalId`. Modules without all
    // of their four items are left out. On failure (no policy, or one without
    // "TotalBandwidthSpecified" or "TotalBandwidth") the table is empty. Logs the id at level 3 and
    // a failure at level 1.
    void ReadBandwidthPolicy(int terminalId);

    // Calculates the allowance of `moduleName` from its items and stores it in the table. Returns
    // 0. Logs nothing. `item` is not changed.
    //
    // The allowance is the smaller one of `item.bandwidth` and `item.bandwidthPercent` percent of
    // `totalBandwidth` (kilobits per second; 0 or less: no total). Each counts only when its flag
    // is not 0, a percentage of 0 or above 100 never, and a share of less than one unit never
    // replaces an absolute bandwidth. An allowance of 0 or less is not stored. For the module
    // "Total", a `totalBandwidth` above 0 is stored and the items are ignored. Products wrap around
    // at 32 bits.
    int CalculateModuleAllowedBandwidth(int totalBandwidth, std::string moduleName,
                                        PolicyCfgItemValue& item);

    // Returns the allowance of a module in bytes per second, or 0 when it has none or `moduleName`
    // is null. A name that contains "ZnAudio", "ZnCamera", "ZnClipboard", "ZnDisplay", "ZnFdRedir",
    // "ZnPrinter" or "ZnTotal" means that module without "Zn" (of several, the first in this list);
    // every other name is looked up unchanged. Logs nothing.
    int GetBandwidthBytesPerSec(const char* moduleName);

    // Returns the same allowance of `moduleName` in bytes per millisecond, truncated toward zero.
    int GetBandwidthBytesPerMs(const char* moduleName);

   private:
    std::unique_ptr<ZnBandwidthPolicyPrivate> private_;
};
