#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <utility>

#include "CommandError.h"
#include "PolicyStore.h"

std::string NotEmpty(const std::string& value) {
    return value.empty() ? "must not be empty" : "";
}

std::string IsId(const std::string& value) {
    int id = 0;
    std::from_chars(value.data(), value.data() + value.size(), id);
    return value == std::to_string(id)
               ? ""
               : "\"" + value +
                     "\" is not an id: a decimal 32-bit integer without leading zeros or plus sign";
}

void AddIdArgument(CLI::App& command, int& id, const std::string& description) {
    command.add_option("ID", id, description)->required()->check(IsId);
}

void AddIdsArgument(CLI::App& command, std::vector<int>& ids, const std::string& description) {
    command.add_option("ID", ids, description)->required()->check(IsId);
}

void AddRootOption(CLI::App& command, std::string& root) {
    command.add_option("--root", root, "The microservices directory, with Package in it")
        ->type_name("DIR")
        ->check(NotEmpty)
        ->required();
}

void AddWaitOption(CLI::App& command, int& seconds) {
    command.add_option("--wait", seconds, "How long to wait for another command that works on DIR")
        ->type_name("SECONDS")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()));
}

void AddJsonOption(CLI::App& command, Context& context) {
    command.add_flag("--json", context.json, "Print JSON")->disable_flag_override();
}

void ForEachId(const std::vector<int>& ids, Context& context,
               const std::function<void(int)>& action) {
    const auto report = [&](const std::string& message, const Json& details) {
        std::cout.flush();
        PrintError(context.json, "failed", message, details);
        context.status = 1;
    };
    for (const int id : ids) {
        try {
            action(id);
        } catch (const PolicyStore::Error& error) {
            report(error.what(), Json::object());
        } catch (const CommandError& error) {
            report(error.what(), error.Details());
        }
    }
}

void SetAction(CLI::App& command, Context& context, std::function<void()> action) {
    command.callback([&context, action = std::move(action)] { context.run = action; });
}

void RequireOneStandardInput(const std::vector<std::string>& files) {
    if (std::count(files.begin(), files.end(), "-") > 1) {
        throw CLI::ValidationError("FILE", "standard input can be read only once");
    }
}

void RequireOutput() {
    std::cout.flush();
    if (!std::cout) {
        throw std::runtime_error("cannot write to standard output");
    }
}
