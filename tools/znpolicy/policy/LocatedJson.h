// JSON texts with the place of every value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A JSON value. Values below the fourth level are left out, which is enough for update
// descriptions.
struct LocatedJson {
    enum class Kind { kOther, kInteger, kString, kArray, kObject };
    struct Child;

    Kind kind = Kind::kOther;
    std::size_t offset = 0;       // of its first byte in the text
    std::int64_t number = 0;      // of an integer
    std::string text;             // of a string
    std::vector<Child> children;  // of an array or object, in the order of the text

    // Returns the first member with this name, which is the one that readers get; null if there is
    // none.
    const LocatedJson* Member(std::string_view name) const;
};

struct LocatedJson::Child {
    std::string name;  // "" in an array
    std::size_t nameOffset = 0;
    LocatedJson value;
};

// Why a text cannot be parsed.
struct JsonProblem {
    std::size_t offset = 0;
    std::string reason;
};

// Parses `text`. Returns false and sets `problem` if libZnJson refuses it, or if it has more than a
// million values in its upper levels.
bool ParseLocatedJson(const std::string& text, LocatedJson& root, JsonProblem& problem);
