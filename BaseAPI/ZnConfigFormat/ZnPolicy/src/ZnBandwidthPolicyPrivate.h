// The allowance table behind ZnBandwidthPolicy.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "PolicyCfgItemValue.h"
#include "ZnXml.h"

// Which of a module's four policy items. Any other value names none.
enum CfgNameType : int {
    BANDWIDTH_SPECIFIED = 1,
    BANDWIDTH = 2,
    BANDWIDTH_PERCENT_SPECIFIED = 3,
    BANDWIDTH_PERCENT = 4,
};

// The name of a module's policy item: "Audio" and BANDWIDTH give "AudioBandwidth". "" for a type
// outside 1 to 4.
std::string GetCfgName(std::string moduleName, CfgNameType type);

class ZnBandwidthPolicyPrivate {
   public:
    // Empties the table.
    void Clear();

    // Sets the allowance of a module; kilobits per second become bytes per second.
    void SetAllowance(const std::string& moduleName, int kilobitsPerSecond);

    // The allowance of a module in bytes per second, or 0 when it has none.
    int Allowance(std::string_view moduleName) const;

    // Reads every module from a loaded accessor and applies it; `item` is scratch space. A module
    // that lacks one of its four items is passed over.
    void ReadSubs(ZnXml& xml, PolicyCfgItemValue& item, int totalBandwidth);

    // See ZnBandwidthPolicy::CalculateModuleAllowedBandwidth.
    int CalculateModuleAllowedBandwidthPrivate(int totalBandwidth, std::string moduleName,
                                               PolicyCfgItemValue& item);

   private:
    std::map<std::string, int, std::less<>> allowances_;  // looked up without a copy of the name
};
