// The limits of a virtual-channel plugin list.
#pragma once

#include <cstddef>

#include "VekVcItems.h"

// The fields that an item needs; more are allowed.
inline constexpr std::size_t kVcFieldCount = 7;

// The longest field, in bytes.
inline constexpr std::size_t kVcFieldMax = sizeof(VekVcItems::text1) - 1;
