#include "PolicyCheck.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

#include "BandwidthCheck.h"
#include "ItemReference.h"
#include "LocatedJson.h"
#include "NearestName.h"
#include "PluginListCheck.h"
#include "PolicyDocument.h"
#include "PolicyItems.h"
#include "PolicyNumber.h"
#include "PolicyReport.h"
#include "Quoted.h"
#include "UpdateDescriptionCheck.h"

namespace {

// Looking for a near name takes much longer than everything else that is done with an item.
constexpr std::size_t kMaxSuggestions = 1000;

constexpr const char* kDisableLoginHint = "DisableLoginHint";

using Items = std::vector<PolicyStore::Item>;

class PolicyChecker {
   public:
    PolicyChecker(const Items& items, const std::vector<ItemPlace>& places)
        : items_(items), policy_(items), report_(items, places) {}

    // Returns the findings in document order.
    std::vector<PlacedFinding> Check() {
        CheckNames();
        CheckNumbers();
        CheckPolicyName();
        CheckReconnect();
        CheckAutoClose();
        CheckLoginHint();
        CheckVirtualChannels();
        CheckBandwidth(policy_, report_);
        return report_.Take();
    }

   private:
    // Says what a reader finds instead of a value that turns something on.
    std::string Absence(const std::string& key) const {
        const auto number = policy_.Number(key);
        return number ? key + " is " + std::to_string(*number) : policy_.WhyNoNumber(key);
    }

    // --- Rules for every item ---

    void CheckNames() {
        std::size_t unknown = 0;
        for (const PolicyStore::Item& item : items_) {
            if (FindKnownItem(item.key) == nullptr) {
                report_.Add(FindingCode::kUnknownItem, item, "no reader uses " + Quoted(item.key),
                            unknown++ < kMaxSuggestions ? NearestKnownItem(item.key) : "");
            }
        }
    }

    void CheckNumbers() {
        for (const PolicyStore::Item& item : items_) {
            const ItemDescription* const known = FindKnownItem(item.key);
            if (known != nullptr && known->isInteger) {
                CheckNumber(item, *known);
            }
        }
    }

    void CheckNumber(const PolicyStore::Item& item, const ItemDescription& known) {
        const auto number = PolicyNumber(item.value);
        if (!number) {
            report_.Add(FindingCode::kNotANumber, item,
                        item.key + " is not a decimal 32-bit integer: " + Quoted(item.value) +
                            "; it counts as missing");
        } else if (!known.Allows(*number)) {
            report_.Add(FindingCode::kOutOfRange, item,
                        item.key + " is " + std::to_string(*number) + "; sensible values are " +
                            known.range);
        }
    }

    void CheckPolicyName() {
        if (policy_.Has("PolicyName")) {
            return;
        }
        for (const PolicyStore::Item& item : items_) {
            const ItemDescription* const known = FindKnownItem(item.key);
            if (known != nullptr && known->needsPolicyName) {
                report_.AddMissing(FindingCode::kNoPolicyName, "PolicyName", item,
                                   "all readers but those of data transport and bandwidth answer "
                                   "with their defaults");
                return;
            }
        }
    }

    // --- Session settings ---

    void CheckReconnect() {
        CheckPair("AutoConnectInterval", "SessionKeepliveTime");
        CheckPair("SessionKeepliveTime", "AutoConnectInterval");
    }

    void CheckPair(const std::string& key, const std::string& partner) {
        if (policy_.Has(key) && !policy_.Has(partner)) {
            report_.AddMissing(FindingCode::kMissingItem, partner, *policy_.Find(key),
                               key + " counts as 0");
        }
    }

    void CheckAutoClose() {
        const std::string flag = "AutoCloseDisplayerFlag";
        const std::string seconds = "AutoCloseDisplayerSecond";
        if (!policy_.Has(flag)) {
            CheckPair(seconds, flag);
        } else if (policy_.Number(flag).value_or(0) != 0) {
            if (!policy_.Has(seconds)) {
                report_.AddMissing(FindingCode::kMissingItem, seconds, *policy_.Find(flag),
                                   "the displayer does not close by itself");
            } else if (policy_.Number(seconds) == 0) {
                report_.AddNoEffect(*policy_.Find(flag), seconds + " is 0");
            }
        } else if (policy_.Number(flag) == 0 && IsSensible(policy_, seconds) &&
                   policy_.Number(seconds) != 0) {
            report_.AddNoEffect(*policy_.Find(seconds), flag + " is 0");
        }
    }

    void CheckLoginHint() {
        const std::string enable = "configArg1Enable";
        const PolicyStore::Item* const rule = policy_.Find("configArg1Rule");
        const bool isOn = policy_.Number(enable) == 1;
        if (rule == nullptr) {
            if (isOn) {
                report_.AddMissing(FindingCode::kMissingItem, "configArg1Rule",
                                   *policy_.Find(enable), "there is no rule to be applied");
            }
            return;
        }
        if (!isOn && rule->value.empty()) {
            return;
        }
        CheckRule(*rule);
        if (!isOn && (!policy_.Has(enable) || policy_.Number(enable))) {
            report_.AddNoEffect(*rule, Absence(enable) + "; only 1 turns customisation on");
        }
    }

    void CheckRule(const PolicyStore::Item& item) {
        LocatedJson rule;
        JsonProblem problem;
        if (!ParseLocatedJson(item.value, rule, problem)) {
            ReportRule(item, problem.offset, problem.reason);
        } else if (rule.kind != LocatedJson::Kind::kObject) {
            ReportRule(item, rule.offset, "not a JSON object");
        } else if (const LocatedJson* const disable = rule.Member(kDisableLoginHint);
                   disable == nullptr) {
            ReportMissingHint(item, rule);
        } else if (disable->kind != LocatedJson::Kind::kInteger || disable->number < INT_MIN ||
                   disable->number > INT_MAX) {
            ReportRule(item, disable->offset, "\"DisableLoginHint\" is not a 32-bit integer");
        } else if (disable->number != 0 && disable->number != 1) {
            report_.AddInside(FindingCode::kNoEffect, item, disable->offset,
                              "DisableLoginHint has no effect: it is " +
                                  std::to_string(disable->number) +
                                  ", only 1 suppresses the login hint");
        }
    }

    void ReportMissingHint(const PolicyStore::Item& item, const LocatedJson& rule) {
        const auto misspelt = std::find_if(
            rule.children.begin(), rule.children.end(), [](const LocatedJson::Child& member) {
                return !NearestName(member.name, {kDisableLoginHint}).empty();
            });
        if (misspelt == rule.children.end()) {
            ReportRule(item, rule.offset, std::string("no member \"") + kDisableLoginHint + "\"");
        } else {
            ReportRule(item, misspelt->nameOffset, "unknown member " + Quoted(misspelt->name),
                       kDisableLoginHint);
        }
    }

    void ReportRule(const PolicyStore::Item& item, std::size_t offset, const std::string& problem,
                    std::string suggestion = "") {
        const TextPosition position = TextPositions(item.value).At(offset);
        report_.AddInside(FindingCode::kInvalidRule, item, offset,
                          item.key + ", line " + std::to_string(position.line) + ", column " +
                              std::to_string(position.column) + ": " + problem,
                          std::move(suggestion));
    }

    // --- Virtual channels ---

    void CheckVirtualChannels() {
        const std::string enable = "VirtualChannelEnable";
        const PolicyStore::Item* const list = policy_.Find("VirtualChannelOptionNames");
        const PolicyStore::Item* const formal = policy_.Find("VirtualChannelPluginDetails");
        const PolicyStore::Item* const debug = policy_.Find("ThirdPartyPluginNames");
        const bool isOn = policy_.Number(enable).value_or(0) != 0;
        const bool isOff =
            !isOn && (!policy_.Has(enable) || policy_.Number(enable));  // not just unreadable
        if (isOn && list == nullptr && formal == nullptr && debug == nullptr) {
            report_.AddMissing(FindingCode::kMissingItem, "VirtualChannelOptionNames",
                               *policy_.Find(enable), "there are no plugins");
        }
        for (const PolicyStore::Item* const item : {list, formal, debug}) {
            if (item == nullptr || (!isOn && item->value.empty())) {
                continue;
            }
            if (isOff) {
                report_.AddNoEffect(*item, Absence(enable));
            }
        }
        if (list != nullptr && (isOn || !list->value.empty())) {
            CheckList(*list);
        }
        // Without the formal description, the other one may stand in for it.
        if (formal != nullptr && (!formal->value.empty() || (isOn && debug == nullptr))) {
            CheckDescription(*formal);
        }
        if (debug != nullptr && !debug->value.empty()) {
            CheckDescription(*debug);
            if (!isOff && formal != nullptr && formal->value.size() >= 2) {
                report_.AddNoEffect(*debug, formal->key + " comes first");
            }
        }
    }

    void CheckList(const PolicyStore::Item& item) {
        for (const PluginListProblem& problem : CheckPluginList(item.value).problems) {
            report_.AddInside(FindingCode::kInvalidPluginList, item, problem.offset,
                              item.key + ": " + problem.message);
        }
    }

    void CheckDescription(const PolicyStore::Item& item) {
        for (UpdateDescriptionProblem& problem : CheckUpdateDescription(item.value)) {
            report_.AddInside(FindingCode::kInvalidUpdateDescription, item, problem.offset,
                              item.key + ": " + problem.message, std::move(problem.suggestion));
        }
    }

    const Items& items_;
    const PolicyItems policy_;
    PolicyReport report_;
};

}  // namespace

std::vector<PolicyFinding> CheckPolicyDocument(const std::string& xml) {
    Items items;
    std::vector<ItemPlace> places;
    try {
        items = ParsePolicyDocument(xml, "", &places);
    } catch (const DocumentRefusal& refusal) {
        return {{FindingCode::kRefused, "", refusal.Reason(), "", refusal.Position()}};
    }
    TextPositions positions(xml);
    std::vector<PolicyFinding> findings;
    for (PlacedFinding& placed : PolicyChecker(items, places).Check()) {
        placed.finding.position = positions.At(placed.offset);
        findings.push_back(std::move(placed.finding));
    }
    return findings;
}

std::vector<PolicyFinding> CheckPolicyItems(const Items& items) {
    // Without a document, places only keep the findings in the order of the items.
    std::vector<ItemPlace> places;
    for (std::size_t i = 0; i < items.size(); ++i) {
        places.emplace_back(i);
    }
    std::vector<PolicyFinding> findings;
    for (PlacedFinding& placed : PolicyChecker(items, places).Check()) {
        findings.push_back(std::move(placed.finding));
    }
    return findings;
}
