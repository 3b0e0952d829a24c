#include "ShellPath.h"

#include <stdexcept>
#include <string_view>

static bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ' ' || byte == 0x7F;
}

// Splits words, expands, quotes or ends commands in sh, or is a wildcard for unzip.
static bool IsInterpreted(char c) {
    return IsControl(c) ||
           std::string_view(" \"'`$&|;<>()[]{}*?\\").find(c) != std::string_view::npos;
}

static std::string NameOf(char c) {
    switch (c) {
        case ' ':
            return "a blank";
        case '\t':
            return "a tab";
        case '\n':
            return "a line break";
        default:
            return IsControl(c) ? "a control character" : "\"" + std::string(1, c) + "\"";
    }
}

static std::string Problem(const std::string& where, char c) {
    return "the path " + where + " " + NameOf(c) +
           ", which sh or unzip would interpret; rename the file or its directory";
}

std::string ShellPathProblem(const std::string& path) {
    // A home directory, a comment, an option.
    if (!path.empty() && std::string_view("~#-").find(path.front()) != std::string_view::npos) {
        return Problem("begins with", path.front());
    }
    for (const char c : path) {
        if (IsInterpreted(c)) {
            return Problem("contains", c);
        }
    }
    return "";
}

void RequirePlainPath(const std::string& zip) {
    const std::string problem = ShellPathProblem(zip);
    if (!problem.empty()) {
        throw std::runtime_error(zip + ": " + problem);
    }
}
