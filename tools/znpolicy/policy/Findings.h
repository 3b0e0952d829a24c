// Mistakes that a check finds in policies and update descriptions.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Json.h"
#include "TextPosition.h"

enum class FindingCode {
    kRefused,
    kUnknownItem,
    kNotANumber,
    kOutOfRange,
    kMissingItem,
    kNoPolicyName,
    kNoEffect,
    kOverflow,
    kOverCommitted,
    kInvalidRule,
    kInvalidPluginList,
    kInvalidUpdateDescription,
};

// Returns the code as users see it, such as "unknown-item".
std::string_view CodeName(FindingCode code);

// Whether the finding is an error: a document that cannot be published. Others are warnings.
bool IsError(FindingCode code);

struct PolicyFinding {
    FindingCode code = FindingCode::kRefused;
    std::string item;  // "" if it is not about one item
    std::string message;
    std::string suggestion;  // what was probably meant, or ""
    TextPosition position;
};

// One input of a check.
struct CheckedInput {
    std::string name;
    std::vector<PolicyFinding> findings;
};

struct FindingCount {
    std::size_t errors = 0;
    std::size_t warnings = 0;
};

FindingCount CountFindings(const std::vector<CheckedInput>& inputs);

// Prints a line for each finding, "name:line:column: warning: message [code]", and then their
// number, "1 error, 2 warnings".
void PrintFindings(std::ostream& out, const std::vector<CheckedInput>& inputs);

// Prints the findings to standard output. Throws std::runtime_error if there are errors or, if
// `strict`, warnings.
void ReportFindings(const std::vector<CheckedInput>& inputs, bool strict, bool json);
