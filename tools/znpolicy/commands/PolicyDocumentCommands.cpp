// znpolicy policy diff and export: policies compared with documents and turned into documents.
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "AtomicFile.h"
#include "EscapeText.h"
#include "Input.h"
#include "Json.h"
#include "PolicyAccess.h"
#include "PolicyDiff.h"
#include "PolicyExport.h"

namespace {

struct DiffArguments {
    int id = 0;
    std::string file;
};

// Returns no items when there is no policy, or no store, yet.
std::vector<PolicyStore::Item> ReadPolicyIfAny(int id) {
    const PolicyStore store;
    const bool isMissing = access(store.PolicyPath(id).c_str(), F_OK) != 0 && errno == ENOENT;
    return isMissing ? std::vector<PolicyStore::Item>() : store.Read(id);
}

// Quotes as JSON does, so that different values look different.
std::string QuotedValue(const std::string& value) {
    return Escaped(Json(value).dump(-1, ' ', false, Json::error_handler_t::replace));
}

void PrintChanges(const std::vector<PolicyChange>& changes) {
    for (const PolicyChange& change : changes) {
        if (change.oldValue) {
            std::cout << "- " << Escaped(change.item) << " = " << QuotedValue(*change.oldValue)
                      << '\n';
        }
        if (change.newValue) {
            std::cout << "+ " << Escaped(change.item) << " = " << QuotedValue(*change.newValue)
                      << '\n';
        }
    }
    if (changes.empty()) {
        std::cout << "no differences\n";
    }
}

Json ToJson(int id, const std::vector<PolicyChange>& changes) {
    Json list = Json::array();
    for (const PolicyChange& change : changes) {
        list.push_back({{"item", change.item},
                        {"old", change.oldValue ? Json(*change.oldValue) : Json()},
                        {"new", change.newValue ? Json(*change.newValue) : Json()}});
    }
    return {{"id", id}, {"changes", std::move(list)}};
}

void Diff(const DiffArguments& arguments, Context& context) {
    context.failureStatus = 2;
    const std::vector<PolicyChange> changes = ComparePolicies(
        ReadPolicyIfAny(arguments.id),
        PolicyStore::ParseDocument(ReadInput(arguments.file, PolicyStore::kMaxDocumentSize),
                                   InputTitle(arguments.file)));
    if (context.json) {
        PrintJson(ToJson(arguments.id, changes));
    } else {
        PrintChanges(changes);
    }
    context.status = changes.empty() ? 0 : 1;
}

struct ExportArguments {
    int id = 0;
    std::string output = "-";
};

// Keeps the permissions of a file that it replaces.
bool ReplaceFile(const std::string& path, std::optional<mode_t> mode, const std::string& text) {
    AtomicFile file(path, 0666);
    const auto size = static_cast<long long>(text.size());
    return file.IsOpen() && file.File().Write(text.data(), size) == size &&
           (!mode || file.SetMode(*mode)) && file.Commit();
}

// For devices and symbolic links.
bool WriteThrough(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    return !out.fail();
}

void WriteOutput(const std::string& path, const std::string& text) {
    if (path == "-") {
        std::cout << text;
        return;
    }
    struct stat status = {};
    const bool exists = lstat(path.c_str(), &status) == 0;
    const auto mode = exists ? std::make_optional(status.st_mode & 07777) : std::nullopt;
    if (!(exists && !S_ISREG(status.st_mode) ? WriteThrough(path, text)
                                             : ReplaceFile(path, mode, text))) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
}

void Export(const ExportArguments& arguments) {
    const std::vector<PolicyStore::Item> items = OpenPolicyStore().Read(arguments.id);
    std::string document;
    try {
        document = ExportPolicy(items);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("policy " + std::to_string(arguments.id) +
                                 " cannot be exported: " + error.what());
    }
    WriteOutput(arguments.output, document);
}

}  // namespace

void AddPolicyDocumentCommands(CLI::App& policy, Context& context) {
    const auto compared = std::make_shared<DiffArguments>();
    CLI::App* diff =
        policy.add_subcommand("diff", "Show which items publishing a document would change");
    AddIdArgument(*diff, compared->id, "Terminal or session; it need not have a policy");
    diff->add_option("FILE", compared->file, "The document; - for standard input")->required();
    AddJsonOption(*diff, context);
    SetAction(*diff, context, [=, &context] { Diff(*compared, context); });

    const auto exported = std::make_shared<ExportArguments>();
    CLI::App* save = policy.add_subcommand("export", "Print a policy as an XML document");
    AddIdArgument(*save, exported->id, "Terminal or session");
    save->add_option("--output", exported->output, "Write to this file; - for standard output")
        ->type_name("FILE")
        ->check(NotEmpty);
    SetAction(*save, context, [=] { Export(*exported); });
}
