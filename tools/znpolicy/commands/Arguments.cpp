#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <utility>

std::string NotEmpty(const std::string& value) {
    return value.empty() ? "must not be empty" : "";
}

std::string IsId(const std::string& value) {
    int id = 0;
    std::from_chars(value.data(), value.data() + value.size(), id);
    return value == std::to_string(id) ? "" : "\"" + value + "\" is not a decimal 32-bit integer";
}

void AddIdArgument(CLI::App& command, int& id, const std::string& description) {
    command.add_option("ID", id, description)->required()->check(IsId);
}

void AddJsonOption(CLI::App& command, Context& context) {
    command.add_flag("--json", context.json, "Print JSON");
}

void SetAction(CLI::App& command, Context& context, std::function<void()> action) {
    command.callback([&context, action = std::move(action)] { context.run = action; });
}
