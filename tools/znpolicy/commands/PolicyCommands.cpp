// znpolicy policy: what is in the policy store.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "Commands.h"
#include "Input.h"
#include "Json.h"
#include "PolicyStore.h"
#include "Table.h"

namespace {

// The words of the command line, shared by the commands of the group: only one of them runs.
struct Arguments {
    int id = 0;
    std::string file;
    std::optional<std::string> item;
};

int Publish(const Arguments& arguments) {
    const std::string name = InputTitle(arguments.file);
    const PolicyStore store;
    const size_t count =
        store.Publish(arguments.id, ReadInput(arguments.file, PolicyStore::kMaxDocumentSize), name);
    std::cout << "policy " << arguments.id << ": " << count << " items published in "
              << store.Directory() << '\n';
    return kExitDone;
}

int List(bool json) {
    const std::vector<int> ids = PolicyStore().List();
    if (json) {
        PrintJson(ids);
        return kExitDone;
    }
    for (const int id : ids) {
        std::cout << id << '\n';
    }
    return kExitDone;
}

int ShowItem(const std::vector<PolicyStore::Item>& items, const Arguments& arguments, bool json) {
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
    return kExitDone;
}

int Show(const Arguments& arguments, bool json) {
    const std::vector<PolicyStore::Item> items = PolicyStore().Read(arguments.id);
    if (arguments.item) {
        return ShowItem(items, arguments, json);
    }
    Json::object_t document;
    Table table({"ITEM", "VALUE"});
    for (const PolicyStore::Item& item : items) {
        document.push_back({item.key, item.value});  // keys are unique: no search for an older one
        table.AddRow({item.key, item.value});
    }
    if (json) {
        PrintJson(std::move(document));
    } else {
        table.Print();
    }
    return kExitDone;
}

int Remove(const Arguments& arguments) {
    PolicyStore().Remove(arguments.id);
    std::cout << "policy " << arguments.id << ": removed\n";
    return kExitDone;
}

}  // namespace

void AddPolicyCommands(CLI::App& app, Context& context) {
    CLI::App* policy = app.add_subcommand("policy", "Publish, list, show and remove policies");
    policy->require_subcommand(1);
    const auto arguments = std::make_shared<Arguments>();
    const auto addId = [&](CLI::App* command) {
        AddIdArgument(*command, arguments->id, "Terminal or session");
    };

    CLI::App* publish = policy->add_subcommand("publish", "Publish an XML document as a policy");
    addId(publish);
    publish->add_option("FILE", arguments->file, "The document; - for standard input")->required();
    publish->callback([=, &context] { context.run = [=] { return Publish(*arguments); }; });

    CLI::App* list = policy->add_subcommand("list", "List the ids that have a policy");
    AddJsonOption(*list, context);
    list->callback([&context] { context.run = [&context] { return List(context.json); }; });

    CLI::App* show = policy->add_subcommand("show", "Show the items of a policy as published");
    addId(show);
    show->add_option("ITEM", arguments->item, "Only this item, its value as it stands");
    AddJsonOption(*show, context);
    show->callback(
        [=, &context] { context.run = [=, &context] { return Show(*arguments, context.json); }; });

    CLI::App* remove = policy->add_subcommand("remove", "Remove a policy");
    addId(remove);
    remove->callback([=, &context] { context.run = [=] { return Remove(*arguments); }; });
}
