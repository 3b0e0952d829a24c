// The policy items of redirection modules.
#pragma once

#include <string>

// Policies limit kilobits per second, allowances are bytes per second.
inline constexpr int kBytesPerKilobit = 125;

// Selects one of the four policy items of a module.
enum CfgNameType : int {
    BANDWIDTH_SPECIFIED = 1,
    BANDWIDTH = 2,
    BANDWIDTH_PERCENT_SPECIFIED = 3,
    BANDWIDTH_PERCENT = 4,
};

// Returns the name of a module's policy item: "AudioBandwidth" for "Audio" and BANDWIDTH; "" for a
// type outside 1 to 4.
inline std::string GetCfgName(std::string moduleName, CfgNameType type) {
    switch (type) {
        case BANDWIDTH_SPECIFIED:
            return moduleName + "BandwidthSpecified";
        case BANDWIDTH:
            return moduleName + "Bandwidth";
        case BANDWIDTH_PERCENT_SPECIFIED:
            return moduleName + "BandwidthPercentSpecified";
        case BANDWIDTH_PERCENT:
            return moduleName + "BandwidthPercent";
    }
    return "";
}

// A module with the names of its items.
struct ModuleItems {
    explicit ModuleItems(const std::string& name)
        : module(name),
          bandwidthSpecified(GetCfgName(name, BANDWIDTH_SPECIFIED)),
          bandwidth(GetCfgName(name, BANDWIDTH)),
          bandwidthPercentSpecified(GetCfgName(name, BANDWIDTH_PERCENT_SPECIFIED)),
          bandwidthPercent(GetCfgName(name, BANDWIDTH_PERCENT)) {}

    std::string module;
    std::string bandwidthSpecified;
    std::string bandwidth;
    std::string bandwidthPercentSpecified;
    std::string bandwidthPercent;
};
