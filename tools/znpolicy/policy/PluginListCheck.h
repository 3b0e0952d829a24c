// Mistakes in a virtual-channel plugin list.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct PluginListProblem {
    std::size_t offset = 0;  // in the list
    bool fails = false;      // whether the library refuses the list
    std::string message;
};

struct PluginListReport {
    // In the order of the list. At most 1000 are listed, besides the one that makes the list fail.
    std::vector<PluginListProblem> problems;
    std::size_t plugins = 0;  // the number of records that the library makes of it

    // Returns the problem that makes the library refuse the list, or null if it accepts it.
    const PluginListProblem* Failure() const;
};

PluginListReport CheckPluginList(std::string_view list);
