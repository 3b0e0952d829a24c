#include "CommandError.h"

#include <algorithm>
#include <iostream>
#include <string_view>

#include "Color.h"
#include "EscapeText.h"

CommandError WithSuggestion(const std::string& message, const std::string& suggestion) {
    if (suggestion.empty()) {
        return {message, Json::object()};
    }
    return {message + "; did you mean \"" + suggestion + "\"?", {{"suggestion", suggestion}}};
}

bool AsksForJson(int argc, const char* const* argv) {
    const auto* const end =
        std::find(argv, argv + argc, std::string_view("--"));  // arguments follow
    return std::find_if(argv, end, [](std::string_view word) {
               return word == "--json" || word == "--json=true";
           }) != end;
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
