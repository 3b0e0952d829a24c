// znpolicy policy show: the items of published policies.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "Json.h"
#include "NearestName.h"
#include "PolicyAccess.h"
#include "Table.h"

namespace {

using Items = std::vector<PolicyStore::Item>;

struct ShowArguments {
    std::vector<std::string> words;  // ids, and perhaps an item after them
    std::optional<std::string> item;
    std::vector<int> ids;
};

// Takes ids and item from the words. Throws CLI::ValidationError when one is neither.
void SplitWords(ShowArguments& arguments) {
    std::vector<std::string>& words = arguments.words;
    if (!arguments.item && words.size() > 1 && !IsId(words.back()).empty()) {
        arguments.item = words.back();
        words.pop_back();
    }
    for (const std::string& word : words) {
        const std::string mistake = IsId(word);
        if (!mistake.empty()) {
            throw CLI::ValidationError("ID", mistake);
        }
        arguments.ids.push_back(std::stoi(word));
    }
}

std::vector<std::string> KeysOf(const Items& items) {
    std::vector<std::string> keys;
    keys.reserve(items.size());
    for (const PolicyStore::Item& item : items) {
        keys.push_back(item.key);
    }
    return keys;
}

// Reads the items to show of one policy: all, or the one that is asked for.
Items ReadItems(const PolicyStore& store, int id, const std::optional<std::string>& name) {
    Items items = store.Read(id);
    if (!name) {
        return items;
    }
    const auto found = std::find_if(items.begin(), items.end(), [&](const PolicyStore::Item& item) {
        return item.key == *name;
    });
    if (found == items.end()) {
        throw WithSuggestion("policy " + std::to_string(id) + " has no item \"" + *name + "\"",
                             NearestName(*name, KeysOf(items)));
    }
    return {std::move(*found)};
}

Json ToJson(Items items) {
    Json::object_t document;
    for (PolicyStore::Item& item : items) {
        // Keys are unique: no need to search for them.
        document.push_back({std::move(item.key), std::move(item.value)});
    }
    return document;
}

void ShowValue(const std::string& value, bool json) {
    if (json) {
        PrintJson(value);
    } else {
        std::cout << value << '\n';
    }
}

void ShowOne(int id, const std::optional<std::string>& name, bool json) {
    Items items = ReadItems(OpenPolicyStore(), id, name);
    if (name) {
        ShowValue(items.front().value, json);
        return;
    }
    if (json) {
        PrintJson(ToJson(std::move(items)));
        return;
    }
    Table table({"ITEM", "VALUE"});
    for (const PolicyStore::Item& item : items) {
        table.AddRow({item.key, item.value});
    }
    table.Print();
}

void ShowSeveral(const ShowArguments& arguments, Context& context) {
    const PolicyStore store = OpenPolicyStore();
    Json answer = Json::array();
    Table table({"ID", "ITEM", "VALUE"});
    bool isAnyShown = false;
    ForEachId(arguments.ids, context, [&](int id) {
        Items items = ReadItems(store, id, arguments.item);
        isAnyShown = true;
        if (context.json) {
            answer.push_back({{"id", id}, {"items", ToJson(std::move(items))}});
            return;
        }
        for (const PolicyStore::Item& item : items) {
            table.AddRow({std::to_string(id), item.key, item.value});
        }
    });
    if (context.json) {
        PrintJson(answer);
    } else if (isAnyShown) {
        table.Print();
    }
}

void Show(const ShowArguments& arguments, Context& context) {
    if (arguments.ids.size() == 1) {
        ShowOne(arguments.ids.front(), arguments.item, context.json);
    } else {
        ShowSeveral(arguments, context);
    }
}

}  // namespace

void AddPolicyShowCommand(CLI::App& policy, Context& context) {
    const auto arguments = std::make_shared<ShowArguments>();
    CLI::App* show = policy.add_subcommand("show", "Show the items of policies as published");
    show->add_option("ID", arguments->words,
                     "Terminals or sessions; a last argument that is not an integer is the ITEM")
        ->type_name("INT")
        ->required();
    show->add_option("--item", arguments->item,
                     "Show only this item; of one policy, only its value, unescaped")
        ->type_name("ITEM");
    AddJsonOption(*show, context);
    show->callback([=, &context] {
        SplitWords(*arguments);
        context.run = [=, &context] { Show(*arguments, context); };
    });
}
