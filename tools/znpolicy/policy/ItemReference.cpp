#include "ItemReference.h"

#include <strings.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <set>
#include <unordered_map>

#include "NearestName.h"
#include "RedirectionModules.h"

namespace {

constexpr const char* kDataTransportReader = "ZnIdtVek::ReadIdtPolicy";
constexpr const char* kReconnectReader = "ZnVcVek::ZnReadVekReconnectPolicy";
constexpr const char* kLoginHintReader = "ZnVcVek::ZnDisableLoginHintPolicy";
constexpr const char* kAutoCloseReader = "ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer";
constexpr const char* kBandwidthReader = "ZnBandwidthPolicy::ReadBandwidthPolicy";
constexpr const char* kVirtualChannelReader = "ZnVcVek::ZnReadVekVcPolicy";
constexpr const char* kUpdateReader = "ZnVcUpdate::ZnVmVekJsonUpdateInfo";

ItemDescription Text(const char* name, const char* range, const char* defaultValue,
                     const char* reader, const char* needs, const char* meaning) {
    return {name, false, "", 0, 0, range, defaultValue, reader, needs, true, meaning};
}

ItemDescription Flag(const std::string& name, const char* range, const char* reader,
                     const std::string& needs, const std::string& meaning) {
    return {name, true, "", INT_MIN, INT_MAX, range, "0", reader, needs, true, meaning};
}

ItemDescription Amount(const std::string& name, const char* unit, int maximum, const char* range,
                       const char* reader, const std::string& needs, const std::string& meaning) {
    return {name, true, unit, 0, maximum, range, "0", reader, needs, true, meaning};
}

// The items of the readers that look for "PolicyName".
std::vector<ItemDescription> SessionItems() {
    const char* const othersThatNeedIt = "every reader but those of data transport and bandwidth";
    return {
        Text("PolicyName", "any text, also none", "all settings are neutral", othersThatNeedIt, "",
             "Name of the policy. Only its presence counts."),
        Amount("AutoConnectInterval", "", INT_MAX, "0 to 2147483647", kReconnectReader,
               "PolicyName, SessionKeepliveTime",
               "Interval of the attempts to reconnect, in the unit of the session layer."),
        Amount("SessionKeepliveTime", "", INT_MAX, "0 to 2147483647", kReconnectReader,
               "PolicyName, AutoConnectInterval",
               "How long a session without its connection is kept, in the unit of the session "
               "layer."),
        Flag("configArg1Enable", "1 is on, any other value off", kLoginHintReader,
             "PolicyName, configArg1Rule", "Turns the customisation rule on."),
        Text("configArg1Rule", "JSON object with the integer DisableLoginHint", "no rule",
             kLoginHintReader, "PolicyName, configArg1Enable of 1",
             "Customisation rule. A DisableLoginHint of 1 suppresses the login hint."),
        Flag("AutoCloseDisplayerFlag", "0 is off, any other value on", kAutoCloseReader,
             "PolicyName, AutoCloseDisplayerSecond", "Makes the displayer close by itself."),
        Amount("AutoCloseDisplayerSecond", "seconds", INT_MAX, "0 to 2147483647", kAutoCloseReader,
               "PolicyName, AutoCloseDisplayerFlag other than 0",
               "After how many seconds the displayer closes."),
        Flag("VirtualChannelEnable", "0 is off, any other value on",
             "ZnVcVek::ZnReadVekVcPolicy, ZnVcUpdate::ZnVmVekJsonUpdateInfo", "PolicyName",
             "Turns virtual channels and the update of their plugins on."),
        Text("VirtualChannelOptionNames", "plugin list: items of 7 or more fields", "no plugins",
             kVirtualChannelReader, "PolicyName, VirtualChannelEnable other than 0",
             "Virtual-channel plugins: items separated by commas, fields by @ or braces."),
        Text("VirtualChannelPluginDetails", "JSON, or Base64 of it", "no update", kUpdateReader,
             "PolicyName, VirtualChannelEnable other than 0", "Update description of the plugins."),
        Text("ThirdPartyPluginNames", "JSON, or Base64 of it", "no update", kUpdateReader,
             "PolicyName, VirtualChannelEnable other than 0, debugging switched on, no "
             "VirtualChannelPluginDetails",
             "Update description for debugging."),
    };
}

ItemDescription WithoutPolicyName(ItemDescription item) {
    item.needsPolicyName = false;
    return item;
}

std::vector<ItemDescription> TotalItems(const ModuleItems& total) {
    const char* const unused =
        "Belongs to the pseudo-module of the total, which has no share. Without effect.";
    return {
        Flag(total.bandwidthSpecified, "0 is off, any other value on", kBandwidthReader,
             total.bandwidth,
             "Puts the total bandwidth in force. Without it no module has an allowance."),
        Amount(total.bandwidth, "kbit/s", INT_MAX, "0 to 17179869", kBandwidthReader,
               total.bandwidthSpecified,
               "Total bandwidth. Without it no module has an allowance; 0 is no total. A larger "
               "number wraps when it is converted to bytes per second."),
        Flag(total.bandwidthPercentSpecified, "any", kBandwidthReader, "", unused),
        Amount(total.bandwidthPercent, "%", 100, "0 to 100", kBandwidthReader, "", unused),
    };
}

std::vector<ItemDescription> BandwidthItems(const ModuleItems& names) {
    const std::string others =
        "the module's other three items, TotalBandwidthSpecified, "
        "TotalBandwidth";
    const std::string& module = names.module;
    return {
        Flag(names.bandwidthSpecified, "0 is off, any other value on", kBandwidthReader, others,
             "Puts the absolute bandwidth of " + module + " in force."),
        Amount(names.bandwidth, "kbit/s", INT_MAX, "0 to 17179869", kBandwidthReader, others,
               "Absolute bandwidth of " + module +
                   "; 0 is none. A larger number wraps when it is converted to bytes per second."),
        Flag(names.bandwidthPercentSpecified, "0 is off, any other value on", kBandwidthReader,
             others, "Puts the share of " + module + " in force."),
        Amount(names.bandwidthPercent, "%", 100, "0 to 100", kBandwidthReader, others,
               "Share of " + module +
                   " in the total; 0 is none. The smaller limit wins, but a "
                   "share below 1 kbit/s never."),
    };
}

std::vector<ItemDescription> AllItems() {
    std::vector<ItemDescription> items = SessionItems();
    const auto add = [&](const std::vector<ItemDescription>& more) {
        std::transform(more.begin(), more.end(), std::back_inserter(items), WithoutPolicyName);
    };
    add({Flag("IntelligentDataTransportFlag", "any", kDataTransportReader, "",
              "Intelligent data transport, passed to the session layer as it is.")});
    for (const ModuleItems& names : BandwidthModules()) {
        add(names.module == kTotalBandwidth ? TotalItems(names) : BandwidthItems(names));
    }
    return items;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Guesses only the module of a bandwidth item: compared as a whole, items of any two modules with
// short names would be near each other.
std::string NearestModuleItem(std::string_view name, std::string_view suffix) {
    static const std::vector<std::string> modules(std::begin(kRedirectionModules),
                                                  std::end(kRedirectionModules));
    std::string module = NearestName(name.substr(0, name.size() - suffix.size()), modules);
    return module.empty() ? "" : module.append(suffix);
}

std::vector<std::string> KnownNames() {
    std::vector<std::string> names;
    for (const ItemDescription& item : KnownItems()) {
        names.push_back(item.name);
    }
    return names;
}

}  // namespace

const std::vector<ModuleItems>& BandwidthModules() {
    static const std::vector<ModuleItems> modules = [] {
        const std::set<std::string> names(std::begin(kRedirectionModules),
                                          std::end(kRedirectionModules));
        return std::vector<ModuleItems>(names.begin(), names.end());
    }();
    return modules;
}

const std::vector<ItemDescription>& KnownItems() {
    static const std::vector<ItemDescription> items = AllItems();
    return items;
}

const ItemDescription* FindKnownItem(std::string_view name) {
    static const std::unordered_map<std::string_view, const ItemDescription*> index = [] {
        std::unordered_map<std::string_view, const ItemDescription*> byName;
        for (const ItemDescription& item : KnownItems()) {
            byName.emplace(item.name, &item);
        }
        return byName;
    }();
    const auto found = index.find(name);
    return found == index.end() ? nullptr : found->second;
}

bool IsSensible(const PolicyItems& policy, const std::string& name) {
    const auto number = policy.Number(name);
    return number && FindKnownItem(name)->Allows(*number);
}

std::string NearestKnownItem(std::string_view key) {
    static const std::vector<std::string> names = KnownNames();
    const std::string name(key.substr(key.rfind('/') + 1));
    for (const std::string& known : names) {
        if (strcasecmp(known.c_str(), name.c_str()) == 0) {
            return known;
        }
    }
    static const ModuleItems suffixes("");
    for (const std::string& suffix :
         {suffixes.bandwidthSpecified, suffixes.bandwidth, suffixes.bandwidthPercentSpecified,
          suffixes.bandwidthPercent}) {
        if (EndsWith(name, suffix)) {
            return NearestModuleItem(name, suffix);
        }
    }
    return NearestName(name, names);
}

Json ItemToJson(const ItemDescription& item) {
    return {{"name", item.name},
            {"type", item.isInteger ? "integer" : "text"},
            {"unit", item.unit},
            {"range", item.range},
            {"default", item.defaultValue},
            {"reader", item.reader},
            {"needs", item.needs},
            {"meaning", item.meaning}};
}

std::string ItemsAsMarkdown() {
    std::string text =
        "# Policy items\n"
        "\n"
        "Read this page if you write policies. It lists every item that the library reads; other "
        "items have\n"
        "no effect. It is the output of `znpolicy policy items --markdown`.\n"
        "\n"
        "[The policy store](policy-store.md#numbers) says which texts are integers. The range "
        "gives "
        "the values\n"
        "that make sense; [`znpolicy policy check`](policy-store.md#mistakes) reports others.\n"
        "\n"
        "| item | type | unit | range | default | read by | needs | meaning |\n"
        "|---|---|---|---|---|---|---|---|\n";
    for (const ItemDescription& item : KnownItems()) {
        text += "| `" + item.name + "` | " + (item.isInteger ? "integer" : "text") + " | " +
                item.unit + " | " + item.range + " | " + item.defaultValue + " | " + item.reader +
                " | " + item.needs + " | " + item.meaning + " |\n";
    }
    return text;
}
