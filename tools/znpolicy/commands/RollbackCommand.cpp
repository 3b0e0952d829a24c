// znpolicy package rollback.
#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Json.h"
#include "Paths.h"
#include "Rollback.h"
#include "Table.h"

static void RollBackPackage(const std::string& package, bool force, bool json) {
    const std::vector<RolledBackFile> files = RollBack(WithDirectory(package), force);
    Json document = Json::array();
    Table table({"FILE", "RESULT", "REASON"});
    size_t notRestored = 0;
    for (const RolledBackFile& file : files) {
        document.push_back(
            {{"file", file.destination}, {"result", file.result}, {"reason", file.reason}});
        table.AddRow({file.destination, file.result, file.reason});
        notRestored += file.reason.empty() ? 0 : 1;
    }
    if (json) {
        PrintJson(document);
    } else {
        table.Print();
    }
    if (notRestored > 0) {
        throw std::runtime_error(package + ": files not restored: " + std::to_string(notRestored));
    }
}

void AddRollbackCommand(CLI::App& package, Context& context) {
    const auto name = std::make_shared<std::string>();
    const auto force = std::make_shared<bool>(false);
    CLI::App* rollback =
        package.add_subcommand("rollback", "Restore the files that a package replaced");
    rollback->add_option("PACKAGE", *name, "The zip, or the directory it was unpacked into")
        ->required();
    rollback->add_flag("--force", *force, "Restore files that were changed since, too");
    AddJsonOption(*rollback, context);
    SetAction(*rollback, context, [=, &context] { RollBackPackage(*name, *force, context.json); });
}
