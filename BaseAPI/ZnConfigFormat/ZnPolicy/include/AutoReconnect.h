// Automatic reconnection of a terminal, as its policy gives it.
#pragma once

#include <cstdint>

// Plain record, filled by ZnVcVek::ZnReadVekReconnectPolicy. Both values are the policy's own
// numbers: no unit is converted and no range is checked.
struct AutoReconnect {
    int32_t reconnectInterval;      // policy item "AutoConnectInterval"
    int32_t reconnectKeepliveTime;  // policy item "SessionKeepliveTime"
};

static_assert(sizeof(AutoReconnect) == 8, "two 32-bit integers, no padding");
