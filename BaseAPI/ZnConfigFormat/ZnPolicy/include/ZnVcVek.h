// Session policies of a terminal: reconnection, login hint, virtual-channel plugins.
// Every operation is safe from any thread and throws nothing but what memory exhaustion throws.
#pragma once

#include <string>
#include <vector>

#include "AutoReconnect.h"
#include "VekVcItems.h"
#include "ZnExport.h"

class ZN_API ZnVcVek {
   public:
    // Fills `reconnect` from the policy of `terminalId`: all of it, or zeros when the policy or one
    // of the items "PolicyName", "AutoConnectInterval" and "SessionKeepliveTime" is missing.
    // Logs its course and missing items at level 3, a missing policy at level 1.
    static void ZnReadVekReconnectPolicy(int terminalId, AutoReconnect& reconnect);

    // True when the customisation rule of `terminalId` asks to suppress the login hint: the item
    // "configArg1Enable" is exactly 1 and the JSON object in "configArg1Rule" has the integer
    // member "DisableLoginHint" of exactly 1. False in all other cases. Logs its course and missing
    // items at level 3, a missing policy at level 1.
    static bool ZnDisableLoginHintPolicy(int terminalId);

    // Reads the plugin list of `terminalId` (policy item "VirtualChannelOptionNames") into
    // `vcInfo`, to be parsed with ZnParseVekVcItems. `vcInfo` is empty when policy or item is
    // missing or the item "VirtualChannelEnable" is missing or 0. Logs its course and missing items
    // at level 3, a missing policy at level 1.
    static void ZnReadVekVcPolicy(int terminalId, std::string& vcInfo);

    // Parses a plugin list into `items`, in the order of the text, replacing what it held: items
    // separated by ",", each of seven or more fields separated by "@", "{" or "}". A field is 1 to
    // 31 characters long, blanks included. Fields 3 and 4 are hexadecimal numbers as strtol reads
    // them (blanks, a sign and "0x" may come first, other text ends the number, no digit gives 0),
    // cut to 32 bits; those after the seventh are not kept. Runs of separators count as one, one at
    // the end as none; a text that begins with "," is an empty list, an item that begins with a
    // separator is malformed. Returns 0, or -10000 with `items` empty when the text is shorter than
    // 2 characters or any item is malformed. Logs a text that is too short at level 1, a malformed
    // item at level 3.
    static int ZnParseVekVcItems(std::string vekVcStr, std::vector<VekVcItems>& items);

    // True exactly when the low four bits of `moduleId` are 10 or 11; higher bits do not count.
    // Logs nothing.
    static bool CheckModuleId(int moduleId);
};
