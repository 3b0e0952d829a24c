// The allowance table behind ZnBandwidthPolicy.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "ModuleItems.h"
#include "PolicyCfgItemValue.h"
#include "ZnXml.h"

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
