// znpolicy policy: the contents of the policy store.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "Arguments.h"
#include "EscapeText.h"
#include "Input.h"
#include "Json.h"
#include "PolicyAccess.h"
#include "PolicyCheck.h"
#include "Table.h"

namespace {

// Shared by the commands of the group: only one of them runs.
struct PolicyArguments {
    int id = 0;
    std::string file;
    std::optional<std::string> item;
    bool quiet = false;
    bool strict = false;
};

// Publishes the document and then reports mistakes in it; if `strict`, it publishes only a document
// without mistakes.
void Publish(const PolicyArguments& arguments) {
    const std::string name = InputTitle(arguments.file);
    const std::string document = ReadInput(arguments.file, PolicyStore::kMaxDocumentSize);
    const CheckedInput checked = {name, CheckPolicyDocument(document)};
    const bool isReported = !arguments.quiet && !checked.findings.empty();
    if (arguments.strict && CountFindings({checked}).warnings > 0) {
        if (isReported) {
            PrintFindings(std::cerr, {checked});
        }
        throw std::runtime_error("policy " + std::to_string(arguments.id) +
                                 " not published: there are warnings");
    }
    const PolicyStore store;
    const size_t count = store.Publish(arguments.id, document, name);  // throws if it is refused
    std::cout << "policy " << arguments.id << ": " << count << " items published in "
              << Escaped(store.Directory()) << '\n';
    if (isReported) {
        PrintFindings(std::cerr, {checked});
    }
}

void List(bool json) {
    const std::vector<int> ids = OpenPolicyStore().List();
    if (json) {
        PrintJson(ids);
        return;
    }
    for (const int id : ids) {
        std::cout << id << '\n';
    }
}

void ShowItem(const std::vector<PolicyStore::Item>& items, const PolicyArguments& arguments,
              bool json) {
    const auto found = std::find_if(items.begin(), items.end(), [&](const PolicyStore::Item& item) {
        return item.key == *arguments.item;
    });
    if (found == items.end()) {
        throw std::runtime_error("policy " + std::to_string(arguments.id) + " has no item \"" +
                                 *arguments.item + "\"");
    }
    if (json) {
        PrintJson(found->value);
    } else {
        std::cout << found->value << '\n';
    }
}

void Show(const PolicyArguments& arguments, bool json) {
    const std::vector<PolicyStore::Item> items = OpenPolicyStore().Read(arguments.id);
    if (arguments.item) {
        ShowItem(items, arguments, json);
        return;
    }
    Json::object_t document;
    Table table({"ITEM", "VALUE"});
    for (const PolicyStore::Item& item : items) {
        document.push_back({item.key, item.value});  // keys are unique: no need to search for them
        table.AddRow({item.key, item.value});
    }
    if (json) {
        PrintJson(std::move(document));
    } else {
        table.Print();
    }
}

void Remove(const PolicyArguments& arguments) {
    OpenPolicyStore().Remove(arguments.id);
    std::cout << "policy " << arguments.id << ": removed\n";
}

}  // namespace

void AddPolicyCommands(CLI::App& app, Context& context) {
    CLI::App* policy = app.add_subcommand("policy", "Publish, list, show and remove policies");
    policy->require_subcommand(1);
    const auto arguments = std::make_shared<PolicyArguments>();
    const auto addId = [&](CLI::App* command) {
        AddIdArgument(*command, arguments->id, "Terminal or session");
    };

    CLI::App* publish = policy->add_subcommand("publish", "Publish an XML document as a policy");
    addId(publish);
    publish->add_option("FILE", arguments->file, "The document; - for standard input")->required();
    publish->add_flag("--quiet", arguments->quiet, "Do not report mistakes in the document");
    publish->add_flag("--strict", arguments->strict, "Publish only a document without mistakes");
    SetAction(*publish, context, [=] { Publish(*arguments); });

    AddPolicyCheckCommands(*policy, context);
    AddPolicySyncCommands(*policy, context);

    CLI::App* list = policy->add_subcommand("list", "List the ids that have a policy");
    AddJsonOption(*list, context);
    SetAction(*list, context, [&context] { List(context.json); });

    CLI::App* show = policy->add_subcommand("show", "Show the items of a policy as published");
    addId(show);
    show->add_option("ITEM", arguments->item, "Print only the value of this item, unescaped");
    AddJsonOption(*show, context);
    SetAction(*show, context, [=, &context] { Show(*arguments, context.json); });

    CLI::App* remove = policy->add_subcommand("remove", "Remove a policy");
    addId(remove);
    SetAction(*remove, context, [=] { Remove(*arguments); });
}
