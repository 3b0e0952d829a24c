#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Findings.h"

namespace {

const CheckedInput kInput = {
    "a\n.xml",
    {{FindingCode::kUnknownItem, "Audio\tX", "no reader uses it", "AudioBandwidth", {3, 5}},
     {FindingCode::kRefused, "", "broken\n", "", {}}}};

TEST(Findings, PrintsOneLineForEachFindingAndTheirNumber) {
    std::ostringstream out;
    PrintFindings(out, {kInput});
    EXPECT_EQ(out.str(),
              "a\\n.xml:3:5: warning: no reader uses it; did you mean \"AudioBandwidth\"? "
              "[unknown-item]\n"
              "a\\n.xml: error: broken\\n [refused]\n"
              "1 error, 1 warning\n");
}

TEST(Findings, CountsErrorsAndWarnings) {
    const FindingCount count = CountFindings({kInput, kInput, {"b.xml", {}}});
    EXPECT_EQ(count.errors, 2U);
    EXPECT_EQ(count.warnings, 2U);
}

// The output of ReportFindings, and then the message of what it throws.
std::string Report(const std::vector<CheckedInput>& inputs, bool strict, bool json = false) {
    testing::internal::CaptureStdout();
    std::string message;
    try {
        ReportFindings(inputs, strict, json);
    } catch (const std::runtime_error& error) {
        message = error.what();
    }
    return testing::internal::GetCapturedStdout() + message;
}

TEST(Findings, ErrorsFailAndWarningsIfStrict) {
    const CheckedInput warning = {"a", {{FindingCode::kNoEffect, "A", "m", "", {1, 2}}}};
    const CheckedInput error = {"b", {{FindingCode::kRefused, "", "m", "", {3, 4}}}};
    const std::string warningLine = "a:1:2: warning: m [no-effect]\n";
    EXPECT_EQ(Report({warning}, false), warningLine + "0 errors, 1 warning\n");
    EXPECT_EQ(Report({warning}, true), warningLine + "0 errors, 1 warning\nthere are warnings");
    EXPECT_EQ(Report({{"c", {}}}, true), "0 errors, 0 warnings\n");
    for (const bool strict : {false, true}) {
        EXPECT_EQ(Report({error, error}, strict),
                  "b:3:4: error: m [refused]\nb:3:4: error: m [refused]\n2 errors, 0 warnings\n"
                  "there are errors");
    }
}

TEST(Findings, JsonHasEveryMember) {
    const std::string report = Report({kInput}, false, true);
    EXPECT_EQ(Json::parse(report.substr(0, report.rfind('\n'))), Json::parse(R"({
        "files": [{"name": "a\n.xml", "findings": [
            {"severity": "warning", "code": "unknown-item", "item": "Audio\tX", "line": 3,
             "column": 5, "message": "no reader uses it", "suggestion": "AudioBandwidth"},
            {"severity": "error", "code": "refused", "item": "", "line": 0,
             "column": 0, "message": "broken\n", "suggestion": ""}]}],
        "errors": 1, "warnings": 1})"));
}

}  // namespace
