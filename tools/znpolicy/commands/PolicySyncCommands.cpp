// znpolicy policy verify and sync: whole stores.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "EscapeText.h"
#include "Interrupt.h"
#include "Json.h"
#include "PolicyAccess.h"
#include "PolicySummary.h"
#include "PolicySync.h"

namespace {

// What is wrong with a policy file, if anything, and how it was checked.
struct VerifiedPolicy {
    int id;
    PolicyStore::Verification verification;
    bool isUnreadable = false;

    bool IsOk() const {
        return verification.damage.empty();
    }
    bool IsDamaged() const {
        return !IsOk() && !isUnreadable;
    }
};

// A policy that is missing counts as damaged.
VerifiedPolicy VerifyPolicy(const PolicyStore& store, int id) {
    try {
        return {id, store.Verify(id)};
    } catch (const PolicyStore::Error& error) {
        return {id, {false, {error.what()}}, IsUnreadable(store, id)};
    }
}

Json ToJson(const VerifiedPolicy& policy) {
    return {{"id", policy.id},
            {"state", policy.isUnreadable ? "unreadable"
                      : policy.IsOk()     ? "ok"
                                          : "damaged"},
            {"checksums", policy.verification.hasChecksums},
            {"damage", policy.verification.damage}};
}

void PrintVerified(const VerifiedPolicy& policy) {
    for (const std::string& damage : policy.verification.damage) {
        std::cout << "policy " << policy.id << ": " << Escaped(damage) << '\n';
    }
    if (policy.IsOk() && !policy.verification.hasChecksums) {
        std::cout << "policy " << policy.id
                  << ": ok, but of a format version without checksums; publish it again\n";
    }
}

void Verify(const std::vector<int>& ids, bool json) {
    const PolicyStore store = OpenPolicyStore();
    Json policies = Json::array();
    std::size_t damaged = 0;
    std::size_t unreadable = 0;
    for (const int id : ids.empty() ? store.List() : ids) {
        const VerifiedPolicy policy = VerifyPolicy(store, id);
        damaged += policy.IsDamaged() ? 1 : 0;
        unreadable += policy.isUnreadable ? 1 : 0;
        policies.push_back(ToJson(policy));
        if (!json) {
            PrintVerified(policy);
        }
    }
    const std::size_t count = policies.size();
    if (json) {
        PrintJson(
            {{"policies", std::move(policies)}, {"damaged", damaged}, {"unreadable", unreadable}});
    } else {
        std::cout << count - unreadable << " verified, " << damaged << " damaged";
        if (unreadable > 0) {
            std::cout << ", " << unreadable << " unreadable";
        }
        std::cout << '\n';
    }
    if (damaged + unreadable > 0) {
        throw std::runtime_error("there are damaged, missing or unreadable policies");
    }
}

void PrintSync(const SyncResult& result, bool dryRun) {
    if (dryRun) {
        for (const int id : result.published) {
            std::cout << "would publish policy " << id << '\n';
        }
        for (const int id : result.removed) {
            std::cout << "would remove policy " << id << '\n';
        }
    }
    const char* const to = dryRun ? " to publish, " : " published, ";
    std::cout << result.published.size() << to << result.removed.size()
              << (dryRun ? " to remove, " : " removed, ") << result.unchanged << " unchanged\n";
}

void PrintSyncAsJson(const SyncResult& result, bool dryRun) {
    PrintJson({{"published", result.published},
               {"removed", result.removed},
               {"unchanged", result.unchanged},
               {"problems", result.problems},
               {"ignored", result.ignored},
               {"dryRun", dryRun}});
}

void Sync(const SyncOptions& options, bool json) {
    SyncResult result;
    {
        const InterruptScope interrupts;
        result = SyncPolicies(PolicyStore(), options);
    }
    if (json) {
        PrintSyncAsJson(result, options.dryRun);
    } else {
        PrintSync(result, options.dryRun);
        for (const std::string& name : result.ignored) {
            PrintError(false, "",
                       options.directory + "/" + name + ": ignored: not called <id>.xml");
        }
        for (const std::string& problem : result.problems) {
            PrintError(false, "", problem);
        }
    }
    if (!result.problems.empty()) {
        throw std::runtime_error("not everything was synchronised");
    }
}

}  // namespace

void AddPolicySyncCommands(CLI::App& policy, Context& context) {
    const auto ids = std::make_shared<std::vector<int>>();
    CLI::App* verify = policy.add_subcommand("verify", "Look for damage in policy files");
    verify->add_option("ID", *ids, "Check only these policies")->check(IsId);
    AddJsonOption(*verify, context);
    SetAction(*verify, context, [=, &context] { Verify(*ids, context.json); });

    const auto options = std::make_shared<SyncOptions>();
    options->jobs = std::max(1U, std::thread::hardware_concurrency());
    CLI::App* sync =
        policy.add_subcommand("sync", "Publish the documents of a directory that differ");
    sync->add_option("DIR", options->directory, "Directory of documents named <id>.xml")
        ->check(NotEmpty)
        ->required();
    sync->add_flag("--delete", options->removeOthers, "Remove policies that have no document");
    sync->add_flag("--dry-run", options->dryRun, "Show what would change, and change nothing");
    sync->add_option("--jobs", options->jobs, "Number of threads")
        ->type_name("N")
        ->check(CLI::Range(1, 256))
        ->default_str("one per processor");
    AddJsonOption(*sync, context);
    SetAction(*sync, context, [=, &context] { Sync(*options, context.json); });
}
