// znpolicy update: update descriptions.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Input.h"
#include "PackageRecords.h"
#include "UpdateDescription.h"
#include "ZnVcUpdate.h"

static void Print(const std::vector<ZnPackageInfo>& records, bool json) {
    if (json) {
        PrintJson(RecordsToJson(records));
    } else {
        PrintRecords(records);
    }
}

static std::vector<ZnPackageInfo> ShownUpdate(int terminalId, bool save) {
    if (!save) {
        return ReadUpdate(terminalId);
    }
    ZnVcUpdate::ZnCreateMicroserviceDirectories();
    return TakeUpdate(terminalId);
}

static void Convert(const std::string& file, bool json) {
    Print(ParseUpdate(ReadInput(file, kMaxUpdateSize), InputTitle(file)), json);
}

void AddUpdateCommands(CLI::App& app, Context& context) {
    CLI::App* update = app.add_subcommand("update", "Update descriptions and their records");
    update->require_subcommand(1);

    const auto id = std::make_shared<int>(0);
    CLI::App* show = update->add_subcommand(
        "show", "List the records of the update description in a terminal's policy");
    AddIdArgument(*show, *id, "Terminal");
    const auto save = std::make_shared<bool>(false);
    show->add_flag("--save", *save,
                   "Create the package tree and store the description in it, for the library");
    AddJsonOption(*show, context);
    SetAction(*show, context, [=, &context] { Print(ShownUpdate(*id, *save), context.json); });

    const auto file = std::make_shared<std::string>();
    CLI::App* convert =
        update->add_subcommand("convert", "List the records of an update description");
    convert->add_option("FILE", *file, "JSON or Base64 of it; - for standard input")->required();
    AddJsonOption(*convert, context);
    SetAction(*convert, context, [=, &context] { Convert(*file, context.json); });

    AddUpdateCheckCommands(*update, context);
}
