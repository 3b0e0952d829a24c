// znpolicy policy list: the published policies at a glance.
#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <utility>

#include "Arguments.h"
#include "Json.h"
#include "PolicyAccess.h"
#include "PolicySummary.h"
#include "Table.h"
#include "UtcTime.h"

namespace {

std::string TimeOf(const PolicySummary& policy) {
    return policy.published ? UtcTime(*policy.published) : "";
}

Json ToJson(int id, const PolicySummary& policy) {
    return {{"id", id},
            {"policyName", policy.policyName ? Json(*policy.policyName) : Json()},
            {"items", policy.itemCount ? Json(*policy.itemCount) : Json()},
            {"published", TimeOf(policy)},
            {"state", policy.state}};
}

// The name comes last: it may be long and contain blanks.
void AddRow(Table& table, int id, const PolicySummary& policy) {
    table.AddRow({std::to_string(id), policy.itemCount ? std::to_string(*policy.itemCount) : "-",
                  policy.published ? TimeOf(policy) : "-", policy.state,
                  policy.policyName.value_or("")});
}

void List(bool json) {
    const PolicyStore store = OpenPolicyStore();
    Json answer = Json::array();
    Table table({"ID", "ITEMS", "PUBLISHED", "STATE", "POLICYNAME"});
    for (const int id : store.List()) {
        const std::optional<PolicySummary> policy = SummarizePolicy(store, id);
        if (!policy) {
            continue;  // removed in the meantime
        }
        if (json) {
            answer.push_back(ToJson(id, *policy));
        } else {
            AddRow(table, id, *policy);
        }
    }
    if (json) {
        PrintJson(answer);
    } else if (!table.IsEmpty()) {
        table.Print();
    }
}

}  // namespace

void AddPolicyListCommand(CLI::App& policy, Context& context) {
    CLI::App* list = policy.add_subcommand("list", "List the published policies");
    AddJsonOption(*list, context);
    SetAction(*list, context, [&context] { List(context.json); });
}
