#include "Explanation.h"

#include <utility>

#include "BandwidthExplanation.h"
#include "PluginListCheck.h"
#include "PolicyItems.h"
#include "ZnJson.h"

namespace {

constexpr const char* kNoPolicyName = "no PolicyName";

ExplainedSetting ExplainDataTransport(const PolicyItems& policy) {
    const std::string key = "IntelligentDataTransportFlag";
    const auto flag = policy.Number(key);
    return {"intelligent data transport flag", flag.value_or(0), policy.Texts({key}),
            flag ? "" : policy.WhyNoNumber(key)};
}

// Readers get both times or neither.
std::vector<ExplainedSetting> ExplainReconnect(const PolicyItems& policy) {
    const std::string interval = "AutoConnectInterval";
    const std::string keepAlive = "SessionKeepliveTime";
    const std::string reason =
        policy.Has("PolicyName") ? policy.WhyNotAll({interval, keepAlive}) : kNoPolicyName;
    const auto answer = [&](const std::string& key) {
        return reason.empty() ? *policy.Number(key) : 0;
    };
    const std::vector<ItemText> texts = policy.Texts({"PolicyName", interval, keepAlive});
    return {{"reconnect interval", answer(interval), texts, reason},
            {"reconnect keep-alive time", answer(keepAlive), texts, reason}};
}

// Why the login hint is not suppressed; "" when it is.
std::string WhyLoginHint(const PolicyItems& policy) {
    if (!policy.Has("PolicyName")) {
        return kNoPolicyName;
    }
    const auto enabled = policy.Number("configArg1Enable");
    if (!enabled) {
        return policy.WhyNoNumber("configArg1Enable");
    }
    if (*enabled != 1) {
        return "configArg1Enable is " + std::to_string(*enabled) +
               "; only 1 turns customisation on";
    }
    const auto text = policy.Text("configArg1Rule");
    if (!text) {
        return "configArg1Rule is missing";
    }
    const ZnJson::Value rule(*text);
    if (rule.IsEmpty()) {
        return "configArg1Rule is not JSON";
    }
    int disable = 0;
    if (!rule.GetJsonValue("DisableLoginHint", disable)) {
        return "configArg1Rule has no integer DisableLoginHint";
    }
    return disable == 1 ? ""
                        : "DisableLoginHint is " + std::to_string(disable) +
                              "; only 1 suppresses the login hint";
}

ExplainedSetting ExplainLoginHint(const PolicyItems& policy) {
    std::string reason = WhyLoginHint(policy);
    return {"disable login hint", reason.empty(),
            policy.Texts({"PolicyName", "configArg1Enable", "configArg1Rule"}), std::move(reason)};
}

ExplainedSetting ExplainAutoClose(const PolicyItems& policy) {
    const std::string flag = "AutoCloseDisplayerFlag";
    const std::string seconds = "AutoCloseDisplayerSecond";
    ExplainedSetting setting = {"auto-close displayer seconds", 0,
                                policy.Texts({"PolicyName", flag, seconds}), ""};
    if (!policy.Has("PolicyName")) {
        setting.reason = kNoPolicyName;
    } else if (policy.Number(flag) == 0) {
        setting.reason = flag + " is 0";
    } else {
        setting.reason = policy.WhyNotAll({flag, seconds});
    }
    if (setting.reason.empty()) {
        setting.value = *policy.Number(seconds);
        setting.reason = setting.value == 0 ? seconds + " is 0" : "";
    }
    return setting;
}

// The plugin list that is read, or why there is none.
std::string ReadPluginList(const PolicyItems& policy, std::string& reason) {
    const auto enabled = policy.Number("VirtualChannelEnable");
    const auto list = policy.Text("VirtualChannelOptionNames");
    if (!policy.Has("PolicyName")) {
        reason = kNoPolicyName;
    } else if (!enabled) {
        reason = policy.WhyNoNumber("VirtualChannelEnable");
    } else if (*enabled == 0) {
        reason = "VirtualChannelEnable is 0";
    } else if (!list) {
        reason = "VirtualChannelOptionNames is missing";
    } else if (list->empty()) {
        reason = "VirtualChannelOptionNames is empty";
    } else {
        return *list;
    }
    return "";
}

std::vector<ExplainedSetting> ExplainVirtualChannels(const PolicyItems& policy) {
    std::string reason;
    const std::string list = ReadPluginList(policy, reason);
    const std::vector<ItemText> texts =
        policy.Texts({"PolicyName", "VirtualChannelEnable", "VirtualChannelOptionNames"});
    std::size_t plugins = 0;
    std::string listReason = reason;
    if (!list.empty()) {
        const PluginListReport report = CheckPluginList(list);
        plugins = report.plugins;
        if (const PluginListProblem* const failure = report.Failure()) {
            listReason = "list refused: " + failure->message;
        } else if (plugins == 0) {
            listReason = report.problems.empty() ? "" : report.problems.front().message;
        }
    }
    return {{"virtual-channel list", list, texts, reason},
            {"virtual-channel plugins", plugins, texts, listReason}};
}

}  // namespace

Explanation ExplainPolicy(const std::vector<PolicyStore::Item>& items) {
    const PolicyItems policy(items);
    Explanation explanation;
    const auto add = [&](std::vector<ExplainedSetting> settings) {
        for (ExplainedSetting& setting : settings) {
            explanation.settings.push_back(std::move(setting));
        }
    };
    add({ExplainDataTransport(policy)});
    add(ExplainReconnect(policy));
    add({ExplainLoginHint(policy), ExplainAutoClose(policy)});
    add(ExplainVirtualChannels(policy));
    explanation.modules = ExplainBandwidth(policy);
    return explanation;
}
