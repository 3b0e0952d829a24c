// Readers of session flags, reconnection, login hint and the virtual-channel plugin list.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "VcListFormat.h"
#include "ZnIdtVek.h"
#include "ZnJson.h"
#include "ZnLog.h"
#include "ZnResult.h"
#include "ZnVcPath.h"
#include "ZnVcVek.h"
#include "ZnXml.h"
#include "bounded.h"

int ZnIdtVek::ReadIdtPolicy(int sessionId) {
    int flag = 0;
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(sessionId)) {
        ZN_LOG(LogLevelError, "load policy failed, sessionId:%d", sessionId);
        return 0;
    }
    if (!xml.GetXmlContent("IntelligentDataTransportFlag", flag)) {
        ZN_LOG(LogLevelError, "load policy failed, sessionId:%d, value=%d", sessionId, flag);
        return 0;
    }
    return flag;
}

static void ClearReconnect(AutoReconnect& reconnect) {
    memset_s(&reconnect, sizeof reconnect, 0, sizeof reconnect);
}

void ZnVcVek::ZnReadVekReconnectPolicy(int terminalId, AutoReconnect& reconnect) {
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    ClearReconnect(reconnect);
    ZN_LOG(LogLevelInfo, "Normal:read VEK");
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return;
    }
    std::string policyName;
    if (!xml.GetXmlContent("PolicyName", policyName)) {
        ZN_LOG(LogLevelInfo, "PolicyName Failed");
        return;
    }
    if (!xml.GetXmlContent("AutoConnectInterval", reconnect.reconnectInterval)) {
        ZN_LOG(LogLevelInfo, "AutoConnectInterval Failed");
        ClearReconnect(reconnect);
        return;
    }
    if (!xml.GetXmlContent("SessionKeepliveTime", reconnect.reconnectKeepliveTime)) {
        ZN_LOG(LogLevelInfo, "SessionKeepliveTime Failed");
        ClearReconnect(reconnect);
        return;
    }
    ZN_LOG(LogLevelInfo, "reconnectInterval=%d,reconnectKeepliveTime=%d",
           reconnect.reconnectInterval, reconnect.reconnectKeepliveTime);
}

// Reads the customisation rule of the terminal into `rule`, which stays empty when customisation is
// off or cannot be read.
static void GetCustomizationPolicy(int terminalId, ZnJson::Value& rule) {
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return;
    }
    std::string policyName;
    if (!xml.GetXmlContent("PolicyName", policyName)) {
        ZN_LOG(LogLevelInfo, "PolicyName Failed");
        return;
    }
    int enabled = 0;
    if (!xml.GetXmlContent("configArg1Enable", enabled) || enabled != 1) {
        ZN_LOG(LogLevelInfo, "read configArg1Enable Failed  orconfigArg1Enable is disable");
        return;
    }
    std::string text;
    if (!xml.GetXmlContent("configArg1Rule", text)) {
        ZN_LOG(LogLevelInfo, "configArg1Rule Failed");
        return;
    }
    rule.Parse(text);
}

bool ZnVcVek::ZnDisableLoginHintPolicy(int terminalId) {
    ZN_LOG(LogLevelInfo, "Normal:read disable login hint policy");
    ZnJson::Value rule;
    GetCustomizationPolicy(terminalId, rule);
    if (rule.IsEmpty()) {
        return false;
    }
    int disable = 0;
    return rule.GetJsonValue("DisableLoginHint", disable) && disable == 1;
}

void ZnVcVek::ZnReadVekVcPolicy(int terminalId, std::string& vcInfo) {
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    vcInfo.clear();
    ZN_LOG(LogLevelInfo, "Normal:read VEK");
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return;
    }
    std::string policyName;
    if (!xml.GetXmlContent("PolicyName", policyName)) {
        ZN_LOG(LogLevelInfo, "PolicyName Failed");
        return;
    }
    int vccEnable = 0;
    if (!xml.GetXmlContent("VirtualChannelEnable", vccEnable) || vccEnable == 0) {
        ZN_LOG(LogLevelInfo, "vccEnable Failed");
        return;
    }
    if (!xml.GetXmlContent("VirtualChannelOptionNames", vcInfo)) {
        ZN_LOG(LogLevelInfo, "VirtualChannelOptionNames Failed");
        vcInfo.clear();
        return;
    }
    ZN_LOG(LogLevelInfo, "vccEnable=%d,vcInfo=%s", vccEnable, vcInfo.c_str());
}

// Splits `str` at `sep` into its non-empty pieces. Deliberately, an empty `str` leaves `out` as it
// was, and a leading separator discards the whole string. The pieces are views of `str`, whose
// separators are overwritten with NULs, so that each is a C string too: with strings of their own,
// parsing would exceed the bound of the benchmark vc-parse.
static void SplitString(std::string& str, char sep, std::vector<std::string_view>& out) {
    if (str.empty()) {
        return;
    }
    out.clear();
    if (str.front() == sep) {
        return;
    }
    for (size_t start = 0; start < str.size();) {
        const size_t end = std::min(str.find(sep, start), str.size());
        out.emplace_back(&str[start], end - start);
        for (start = end; start < str.size() && str[start] == sep; ++start) {
            str[start] = '\0';
        }
    }
}

static int32_t HexValue(std::string_view field) {
    return static_cast<int32_t>(std::strtol(field.data(), nullptr, 16));
}

// Fills `record` from the first seven fields and returns the sum of the copies' result codes.
static int FillItem(const std::vector<std::string_view>& fields, VekVcItems& record) {
    record.hexValue1 = HexValue(fields[2]);
    record.hexValue2 = HexValue(fields[3]);
    return strcpy_s(record.text1, sizeof record.text1, fields[0].data()) +
           strcpy_s(record.text2, sizeof record.text2, fields[1].data()) +
           strcpy_s(record.text3, sizeof record.text3, fields[4].data()) +
           strcpy_s(record.text4, sizeof record.text4, fields[5].data()) +
           strcpy_s(record.text5, sizeof record.text5, fields[6].data());
}

int ZnVcVek::ZnParseVekVcItems(std::string vekVcStr, std::vector<VekVcItems>& items) {
    items.clear();
    if (vekVcStr.size() < 2) {
        ZN_LOG(LogLevelError, "invalid:key/vekVcStr");
        return kFailure;
    }
    std::vector<std::string_view> pieces;
    SplitString(vekVcStr, ',', pieces);
    // Reserved for the bound of vc-parse too; no more than a valid list of this length can need.
    constexpr size_t kShortestItem = 2 * kVcFieldCount;
    items.reserve(std::min(pieces.size(), vekVcStr.size() / kShortestItem + 1));

    std::string item;
    std::vector<std::string_view> fields;
    fields.reserve(kVcFieldCount);
    for (const std::string_view piece : pieces) {
        VekVcItems record;
        memset_s(&record, sizeof record, 0, sizeof record);
        item = piece;
        std::replace(item.begin(), item.end(), '{', '@');
        std::replace(item.begin(), item.end(), '}', '@');
        SplitString(item, '@', fields);
        if (fields.size() < kVcFieldCount) {
            items.clear();
            ZN_LOG(LogLevelInfo, "Invalid:policy.size=%d", static_cast<int>(fields.size()));
            return kFailure;
        }
        // Fields after the seventh are not stored, but their lengths are checked.
        for (size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].empty() || fields[i].size() > kVcFieldMax) {
                items.clear();
                ZN_LOG(LogLevelInfo, "Invalid:policy[%d].size=%d", static_cast<int>(i),
                       static_cast<int>(fields[i].size()));
                return kFailure;
            }
        }
        if (FillItem(fields, record) < 0) {
            items.clear();
            ZN_LOG(LogLevelError, "strcpy_s failed");
            return kFailure;
        }
        items.push_back(record);
    }
    return kSuccess;
}

bool ZnVcVek::CheckModuleId(int moduleId) {
    // The mask is deliberate: only the low four bits hold the kind of module.
    const unsigned kind = static_cast<unsigned>(moduleId) & 0xFU;
    return kind == 10 || kind == 11;
}

std::string ZnVcPath::ZnVcClientDllFilePath(std::string /*dir*/, VekVcItems /*item*/) {
    return "";
}
