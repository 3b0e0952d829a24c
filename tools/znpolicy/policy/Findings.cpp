#include "Findings.h"

#include <iostream>
#include <stdexcept>
#include <utility>

#include "Color.h"
#include "EscapeText.h"

std::string_view CodeName(FindingCode code) {
    switch (code) {
        case FindingCode::kRefused:
            return "refused";
        case FindingCode::kUnknownItem:
            return "unknown-item";
        case FindingCode::kNotANumber:
            return "not-a-number";
        case FindingCode::kOutOfRange:
            return "out-of-range";
        case FindingCode::kMissingItem:
            return "missing-item";
        case FindingCode::kNoPolicyName:
            return "no-policy-name";
        case FindingCode::kNoEffect:
            return "no-effect";
        case FindingCode::kOverflow:
            return "overflow";
        case FindingCode::kOverCommitted:
            return "over-committed";
        case FindingCode::kInvalidRule:
            return "invalid-rule";
        case FindingCode::kInvalidPluginList:
            return "invalid-plugin-list";
        case FindingCode::kInvalidUpdateDescription:
            return "invalid-update-description";
    }
    return "";
}

bool IsError(FindingCode code) {
    return code == FindingCode::kRefused;
}

static std::string SeverityName(FindingCode code) {
    return IsError(code) ? "error" : "warning";
}

FindingCount CountFindings(const std::vector<CheckedInput>& inputs) {
    FindingCount count;
    for (const CheckedInput& input : inputs) {
        for (const PolicyFinding& finding : input.findings) {
            ++(IsError(finding.code) ? count.errors : count.warnings);
        }
    }
    return count;
}

static void PrintFindingsOf(std::ostream& out, const CheckedInput& input) {
    for (const PolicyFinding& finding : input.findings) {
        out << Escaped(input.name) << ':';
        if (finding.position.line != 0) {
            out << finding.position.line << ':' << finding.position.column << ':';
        }
        const Color color = IsError(finding.code) ? Color::kRed : Color::kYellow;
        out << ' ' << Colored(out, color, SeverityName(finding.code) + ":") << ' '
            << Escaped(finding.message);
        if (!finding.suggestion.empty()) {
            out << "; did you mean \"" << Escaped(finding.suggestion) << "\"?";
        }
        out << " [" << CodeName(finding.code) << "]\n";
    }
}

void PrintFindings(std::ostream& out, const std::vector<CheckedInput>& inputs) {
    for (const CheckedInput& input : inputs) {
        PrintFindingsOf(out, input);
    }
    const FindingCount count = CountFindings(inputs);
    out << count.errors << (count.errors == 1 ? " error, " : " errors, ") << count.warnings
        << (count.warnings == 1 ? " warning\n" : " warnings\n");
}

static Json ToJson(const std::vector<CheckedInput>& inputs) {
    Json files = Json::array();
    for (const CheckedInput& input : inputs) {
        Json findings = Json::array();
        for (const PolicyFinding& finding : input.findings) {
            findings.push_back({{"severity", SeverityName(finding.code)},
                                {"code", CodeName(finding.code)},
                                {"item", finding.item},
                                {"line", finding.position.line},
                                {"column", finding.position.column},
                                {"message", finding.message},
                                {"suggestion", finding.suggestion}});
        }
        files.push_back({{"name", input.name}, {"findings", std::move(findings)}});
    }
    const FindingCount count = CountFindings(inputs);
    return {{"files", std::move(files)}, {"errors", count.errors}, {"warnings", count.warnings}};
}

void ReportFindings(const std::vector<CheckedInput>& inputs, bool strict, bool json) {
    if (json) {
        PrintJson(ToJson(inputs));
    } else {
        PrintFindings(std::cout, inputs);
    }
    const FindingCount count = CountFindings(inputs);
    if (count.errors > 0) {
        throw std::runtime_error("there are errors");
    }
    if (strict && count.warnings > 0) {
        throw std::runtime_error("there are warnings");
    }
}
