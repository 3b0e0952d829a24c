// znpolicy update: update descriptions.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "Commands.h"
#include "Input.h"
#include "Json.h"
#include "PackageRecords.h"
#include "ZnVcUpdate.h"

static int PrintUpdate(const std::vector<ZnPackageInfo>& records, bool json) {
    if (json) {
        PrintJson(RecordsToJson(records));
    } else {
        PrintRecords(records);
    }
    return kExitDone;
}

static int Show(int terminalId, bool json) {
    ZnVcUpdate::ZnCreateMicroserviceDirectories();
    const std::string name = "the update description of policy " + std::to_string(terminalId);
    return PrintUpdate(ParseUpdateDescription(TakeUpdateDescription(terminalId), name), json);
}

static int Convert(const std::string& file, bool json) {
    return PrintUpdate(
        ParseUpdateDescription(ReadInput(file, kMaxDescriptionSize), InputTitle(file)), json);
}

void AddUpdateCommands(CLI::App& app, Context& context) {
    CLI::App* update = app.add_subcommand("update", "Update descriptions and their records");
    update->require_subcommand(1);

    const auto id = std::make_shared<int>(0);
    CLI::App* show = update->add_subcommand(
        "show", "Take a terminal's update description from its policy, store it, list its records");
    AddIdArgument(*show, *id, "Terminal");
    AddJsonOption(*show, context);
    show->callback(
        [=, &context] { context.run = [=, &context] { return Show(*id, context.json); }; });

    const auto file = std::make_shared<std::string>();
    CLI::App* convert =
        update->add_subcommand("convert", "List the records of an update description");
    convert->add_option("FILE", *file, "JSON or Base64 of it; - for standard input")->required();
    AddJsonOption(*convert, context);
    convert->callback(
        [=, &context] { context.run = [=, &context] { return Convert(*file, context.json); }; });
}
