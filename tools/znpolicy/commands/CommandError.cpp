#include "CommandError.h"

#include <algorithm>
#include <iostream>
#include <string_view>

#include "Color.h"
#include "EscapeText.h"

bool AsksForJson(int argc, const char* const* argv) {
    const auto* const end =
        std::find(argv, argv + argc, std::string_view("--"));  // arguments follow
    return std::find(argv, end, std::string_view("--json")) != end;
}

void PrintError(bool json, const std::string& code, const std::string& message,
                const Json& details) {
    if (!json) {
        std::cerr << Colored(std::cerr, Color::kRed, "znpolicy:") << ' ' << Escaped(message)
                  << '\n';
        return;
    }
    Json error = {{"code", code}, {"message", message}};
    error.update(details);
    std::cerr << Json{{"error", error}}.dump(-1, ' ', true, Json::error_handler_t::replace) << '\n';
}
