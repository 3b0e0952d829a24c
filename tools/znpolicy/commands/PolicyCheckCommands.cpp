// znpolicy policy items and check: what a policy may contain, and mistakes in one.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "Input.h"
#include "ItemReference.h"
#include "PolicyAccess.h"
#include "PolicyCheck.h"
#include "Table.h"

namespace {

struct ItemsArguments {
    std::optional<std::string> name;
    bool markdown = false;
};

void ShowItem(const std::string& name, bool json) {
    const ItemDescription* const item = FindKnownItem(name);
    if (item == nullptr) {
        throw WithSuggestion("no reader uses \"" + name + "\"", NearestKnownItem(name));
    }
    const Json properties = ItemToJson(*item);
    if (json) {
        PrintJson(properties);
        return;
    }
    Table table({"PROPERTY", "VALUE"});
    for (const auto& property : properties.items()) {
        table.AddRow({property.key(), property.value().get<std::string>()});
    }
    table.Print();
}

void ShowAllItems(bool json) {
    Json items = Json::array();
    Table table({"ITEM", "TYPE", "UNIT", "RANGE", "MEANING"});
    for (const ItemDescription& item : KnownItems()) {
        items.push_back(ItemToJson(item));
        table.AddRow(
            {item.name, item.isInteger ? "integer" : "text", item.unit, item.range, item.meaning});
    }
    if (json) {
        PrintJson(items);
    } else {
        table.Print();
    }
}

void ShowItems(const ItemsArguments& arguments, bool json) {
    if (arguments.markdown) {
        std::cout << ItemsAsMarkdown();
    } else if (arguments.name) {
        ShowItem(*arguments.name, json);
    } else {
        ShowAllItems(json);
    }
}

struct CheckArguments {
    std::vector<std::string> files;
    std::vector<int> ids;
    bool strict = false;
};

// A file that cannot be read is a finding, so that the other files are checked as well.
CheckedInput CheckFile(const std::string& file) {
    std::string document;
    std::string reason;
    if (!TryReadInput(file, PolicyStore::kMaxDocumentSize, document, reason)) {
        return {InputTitle(file), {{FindingCode::kRefused, "", reason, "", {}}}};
    }
    return {InputTitle(file), CheckPolicyDocument(document)};
}

// Reports an id without a readable policy, and checks the others.
std::vector<CheckedInput> CheckPolicies(const std::vector<int>& ids, Context& context) {
    const PolicyStore store = OpenPolicyStore();
    std::vector<CheckedInput> inputs;
    ForEachId(ids, context, [&](int id) {
        inputs.push_back({"policy " + std::to_string(id), CheckPolicyItems(store.Read(id))});
    });
    return inputs;
}

void Check(const CheckArguments& arguments, Context& context) {
    std::vector<CheckedInput> inputs;
    if (arguments.files.empty()) {
        inputs = CheckPolicies(arguments.ids, context);
    }
    for (const std::string& file : arguments.files) {
        inputs.push_back(CheckFile(file));
    }
    if (!inputs.empty()) {
        ReportFindings(inputs, arguments.strict, context.json);
    }
}

}  // namespace

void AddPolicyCheckCommands(CLI::App& policy, Context& context) {
    const auto items = std::make_shared<ItemsArguments>();
    CLI::App* show = policy.add_subcommand("items", "Show the items that the library reads");
    CLI::Option* name = show->add_option("ITEM", items->name, "Show only this item, in full");
    AddJsonOption(*show, context);
    show->add_flag("--markdown", items->markdown, "Print all items as a Markdown document")
        ->excludes(name)
        ->excludes("--json");
    SetAction(*show, context, [=, &context] { ShowItems(*items, context.json); });

    const auto arguments = std::make_shared<CheckArguments>();
    CLI::App* check = policy.add_subcommand(
        "check", "Report mistakes in policy documents, or in published policies");
    CLI::Option_group* input = check->add_option_group("input");
    input->add_option("FILE", arguments->files, "The documents; - for standard input");
    input->add_option("--id", arguments->ids, "Check the published policy of this id; repeatable")
        ->type_name("ID")
        ->allow_extra_args(false)
        ->check(IsId);
    input->require_option(1);
    check->add_flag("--strict", arguments->strict, "Exit with status 1 for warnings too");
    AddJsonOption(*check, context);
    check->parse_complete_callback([=] { RequireOneStandardInput(arguments->files); });
    SetAction(*check, context, [=, &context] { Check(*arguments, context); });
}
