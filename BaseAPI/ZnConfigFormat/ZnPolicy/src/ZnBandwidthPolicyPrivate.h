// The allowance table behind ZnBandwidthPolicy.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "PolicyCfgItemValue.h"
#include "ZnXml.h"

// Selects one of the four policy items of a module.
enum CfgNameType : int {
    BANDWIDTH_SPECIFIED = 1,
    BANDWIDTH = 2,
    BANDWIDTH_PERCENT_SPECIFIED = 3,
    BANDWIDTH_PERCENT = 4,
};

// Returns the name of a module's policy item: "AudioBandwidth" for "Audio" and BANDWIDTH; "" for a
// type outside 1 to 4.
std::string GetCfgName(std::string moduleName, CfgNameType type);

class ZnBandwidthPolicyPrivate {
   public:
    // Empties the table.
    void Clear();

    // Sets the allowance of a module, given in kilobits per second and kept in bytes per second.
    void SetAllowance(const std::string& moduleName, int kilobitsPerSecond);

    // Returns the allowance of a module in bytes per second, or 0 when it has none.
    int Allowance(std::string_view moduleName) const;

    // Reads and applies all modules from the loaded accessor `xml`; `item` is scratch space. A
    // module without all of its four items is skipped.
    void ReadSubs(ZnXml& xml, PolicyCfgItemValue& item, int totalBandwidth);

    // See ZnBandwidthPolicy::CalculateModuleAllowedBandwidth.
    int CalculateModuleAllowedBandwidthPrivate(int totalBandwidth, std::string moduleName,
                                               PolicyCfgItemValue& item);

   private:
    std::map<std::string, int, std::less<>> allowances_;  // looked up without a copy of the name
};
