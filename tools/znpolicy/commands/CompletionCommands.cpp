// znpolicy completion, and the hidden commands complete, which the completion scripts call, and
// man, which the build calls.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Completion.h"
#include "ManPage.h"

namespace {

void PrintCompletion(const Completion& completion) {
    if (completion.paths != Completion::Paths::kNone) {
        std::cout << (completion.paths == Completion::Paths::kFiles ? ":files\n"
                                                                    : ":directories\n");
    }
    for (const Completion::Candidate& candidate : completion.candidates) {
        std::cout << candidate.text << '\t' << candidate.description << '\n';
    }
}

void PrintManPages(const CLI::App& app, const std::string& page) {
    if (!page.empty()) {
        std::cout << ManPage(app, page);
        return;
    }
    for (const std::string& name : ManPageNames(app)) {
        std::cout << name << '\n';
    }
}

}  // namespace

void AddCompletionCommands(CLI::App& app, Context& context) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* completion =
        app.add_subcommand("completion", "Print the script that completes znpolicy in a shell");
    completion->add_option("SHELL", *shell, "bash, zsh or fish")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->required();
    SetAction(*completion, context, [=] { std::cout << CompletionScript(*shell); });

    const std::string hidden;  // the group of commands that help does not show
    const auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* complete =
        app.add_subcommand("complete", "Print completions of the last word")->group(hidden);
    complete->add_option("WORDS", *words, "The words after the program's name");
    SetAction(*complete, context, [=, &app] { PrintCompletion(Complete(app, *words)); });

    const auto page = std::make_shared<std::string>();
    CLI::App* man = app.add_subcommand("man", "Print a manual page, or their names")->group(hidden);
    man->add_option("PAGE", *page, "Its name");
    SetAction(*man, context, [=, &app] { PrintManPages(app, *page); });
}
