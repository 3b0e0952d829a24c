// znpolicy update check and encode: update descriptions before they are published.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "Base64.h"
#include "Findings.h"
#include "Input.h"
#include "UpdateDescription.h"
#include "UpdateDescriptionCheck.h"

namespace {

struct CheckArguments {
    std::vector<std::string> files;
    bool strict = false;
};

// A file that cannot be read is a finding, so that the other files are checked as well.
CheckedInput CheckFile(const std::string& file) {
    std::string text;
    std::string reason;
    if (!TryReadInput(file, kMaxUpdateSize, text, reason)) {
        return {InputTitle(file), {{FindingCode::kRefused, "", reason, "", {}}}};
    }
    TextPositions positions(text);
    std::vector<PolicyFinding> findings;
    for (UpdateDescriptionProblem& problem : CheckUpdateDescription(text)) {
        findings.push_back({FindingCode::kInvalidUpdateDescription, "", std::move(problem.message),
                            std::move(problem.suggestion), positions.At(problem.offset)});
    }
    return {InputTitle(file), std::move(findings)};
}

void Check(const CheckArguments& arguments, bool json) {
    std::vector<CheckedInput> inputs;
    for (const std::string& file : arguments.files) {
        inputs.push_back(CheckFile(file));
    }
    ReportFindings(inputs, arguments.strict, json);
}

void Encode(const std::string& file) {
    std::cout << EncodeBase64(ReadInput(file, kMaxUpdateSize)) << '\n';
}

}  // namespace

void AddUpdateCheckCommands(CLI::App& update, Context& context) {
    const auto arguments = std::make_shared<CheckArguments>();
    CLI::App* check = update.add_subcommand("check", "Report mistakes in update descriptions");
    check->add_option("FILE", arguments->files, "JSON or Base64 of it; - for standard input")
        ->required();
    check->add_flag("--strict", arguments->strict, "Exit with status 1 for warnings");
    AddJsonOption(*check, context);
    check->parse_complete_callback([=] { RequireOneStandardInput(arguments->files); });
    SetAction(*check, context, [=, &context] { Check(*arguments, context.json); });

    const auto file = std::make_shared<std::string>();
    CLI::App* encode =
        update.add_subcommand("encode", "Print an update description in Base64, for a policy");
    encode->add_option("FILE", *file, "The description; - for standard input")->required();
    SetAction(*encode, context, [=] { Encode(*file); });
}
