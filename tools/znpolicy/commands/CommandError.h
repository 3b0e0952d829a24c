// How failures are reported.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "Json.h"

// A failed command with facts for programs.
class CommandError : public std::runtime_error {
   public:
    // `details` is an object, whose members are added to the error in JSON.
    CommandError(const std::string& message, Json details)
        : std::runtime_error(message), details_(std::move(details)) {}

    const Json& Details() const {
        return details_;
    }

   private:
    Json details_;
};

// Returns an error that asks whether `suggestion` was meant, unless that is empty.
CommandError WithSuggestion(const std::string& message, const std::string& suggestion);

// Whether the command line asks for JSON. Also works for one that cannot be parsed.
bool AsksForJson(int argc, const char* const* argv);

// Prints an error to standard error: "znpolicy: MESSAGE", or in JSON one line
// {"error": {"code": CODE, "message": MESSAGE, ...}} with the members of `details`.
void PrintError(bool json, const std::string& code, const std::string& message,
                const Json& details = Json::object());
