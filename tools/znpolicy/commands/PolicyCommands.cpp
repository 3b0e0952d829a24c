// znpolicy policy: publishing and removing policies, and the group's other commands.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "EscapeText.h"
#include "Input.h"
#include "PolicyAccess.h"
#include "PolicyCheck.h"

namespace {

struct PublishArguments {
    int id = 0;
    std::string file;
    bool quiet = false;
    bool strict = false;
};

// Publishes the document and then reports mistakes in it; if `strict`, it publishes only a document
// without mistakes.
void Publish(const PublishArguments& arguments) {
    const std::string name = InputTitle(arguments.file);
    const std::string document = ReadInput(arguments.file, PolicyStore::kMaxDocumentSize);
    CheckedInput checked = {name, {}};
    if (!arguments.quiet || arguments.strict) {
        checked.findings = CheckPolicyDocument(document);
    }
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

void Remove(const std::vector<int>& ids, Context& context) {
    const PolicyStore store = OpenPolicyStore();
    ForEachId(ids, context, [&](int id) {
        store.Remove(id);
        std::cout << "policy " << id << ": removed\n";
    });
}

}  // namespace

void AddPolicyCommands(CLI::App& app, Context& context) {
    CLI::App* policy =
        app.add_subcommand("policy", "Publish, check, compare, list, show and remove policies");
    policy->require_subcommand(1);

    const auto arguments = std::make_shared<PublishArguments>();
    CLI::App* publish = policy->add_subcommand("publish", "Publish an XML document as a policy");
    AddIdArgument(*publish, arguments->id, "Terminal or session");
    publish->add_option("FILE", arguments->file, "The document; - for standard input")->required();
    publish->add_flag("--quiet", arguments->quiet, "Do not report mistakes in the document");
    publish->add_flag("--strict", arguments->strict, "Publish only a document without mistakes");
    SetAction(*publish, context, [=] { Publish(*arguments); });

    AddPolicyDocumentCommands(*policy, context);
    AddPolicyCheckCommands(*policy, context);
    AddPolicySyncCommands(*policy, context);
    AddPolicyListCommand(*policy, context);
    AddPolicyShowCommand(*policy, context);

    const auto ids = std::make_shared<std::vector<int>>();
    CLI::App* remove = policy->add_subcommand("remove", "Remove policies");
    AddIdsArgument(*remove, *ids, "Terminals or sessions");
    SetAction(*remove, context, [=, &context] { Remove(*ids, context); });
}
