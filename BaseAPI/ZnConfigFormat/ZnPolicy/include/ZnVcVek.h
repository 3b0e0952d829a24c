// Session policies of a terminal: reconnection, login hint, virtual-channel plugins.
//
// All operations are thread-safe and throw nothing on bad input. Unless noted otherwise they log
// progress and missing items at level 3 and a missing policy at level 1.
#pragma once

#include <string>
#include <vector>

#include "AutoReconnect.h"
#include "VekVcItems.h"
#include "ZnExport.h"

// Reads the session policies of a terminal.
class ZN_API ZnVcVek {
   public:
    // Reads the reconnection settings of `terminalId` into `reconnect`. Both values are 0 when the
    // policy or one of its items "PolicyName", "AutoConnectInterval" and "SessionKeepliveTime" is
    // missing.
    static void ZnReadVekReconnectPolicy(int terminalId, AutoReconnect& reconnect);

    // Returns whether the policy of `terminalId` suppresses the login hint: "configArg1Enable" is
    // exactly 1, and the JSON object in "configArg1Rule" has the integer member "DisableLoginHint"
    // with the value 1. Returns false in all other cases.
    static bool ZnDisableLoginHintPolicy(int terminalId);

    // Reads the plugin list of `terminalId` (policy item "VirtualChannelOptionNames"), to be parsed
    // by ZnParseVekVcItems, into `vcInfo`. It is empty when the policy, its item "PolicyName" or
    // the list is missing, or "VirtualChannelEnable" is missing or 0.
    static void ZnReadVekVcPolicy(int terminalId, std::string& vcInfo);

    // Parses the plugin list `vekVcStr`: items separated by ",", each of at least seven fields of 1
    // to 31 characters separated by "@", "{" or "}". `items` is replaced by one record for each
    // item, in the order of the list. Returns 0, or -10000 with `items` empty when the list is
    // shorter than 2 characters or an item is malformed. Logs a list that is too short at level 1,
    // a malformed item at level 3, nothing on success.
    //
    // Blanks are part of a field. Adjacent separators count as one and a trailing one is ignored; a
    // list that begins with "," is empty, and an item that begins with a separator is malformed.
    // Fields 3 and 4 are hexadecimal numbers as strtol reads them, truncated to 32 bits; fields
    // after the seventh are not stored.
    static int ZnParseVekVcItems(std::string vekVcStr, std::vector<VekVcItems>& items);

    // Returns whether the low four bits of `moduleId` are 10 or 11; higher bits are ignored. Logs
    // nothing.
    static bool CheckModuleId(int moduleId);
};
