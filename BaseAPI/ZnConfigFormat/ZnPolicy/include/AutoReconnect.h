// Automatic reconnection of a terminal.
#pragma once

#include <cstdint>

// Plain record, filled by ZnVcVek::ZnReadVekReconnectPolicy. The values are those of the policy;
// neither unit nor range is checked.
struct AutoReconnect {
    int32_t reconnectInterval;      // policy item "AutoConnectInterval"
    int32_t reconnectKeepliveTime;  // policy item "SessionKeepliveTime"
};

static_assert(sizeof(AutoReconnect) == 8, "two 32-bit integers, no padding");
