// Any text as a policy document: its findings are well-formed, agree with publishing, and are the
// same for the published policy.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "Check.h"
#include "Explanation.h"
#include "ItemReference.h"
#include "PolicyCheck.h"
#include "PolicyStore.h"

using Summary = std::tuple<FindingCode, std::string, std::string, std::string>;

static std::vector<Summary> Summaries(const std::vector<PolicyFinding>& findings) {
    std::vector<Summary> summaries;
    for (const PolicyFinding& finding : findings) {
        summaries.emplace_back(finding.code, finding.item, finding.message, finding.suggestion);
    }
    std::sort(summaries.begin(), summaries.end());
    return summaries;
}

// Positions are in the document, and ascending.
static void CheckPositions(const std::vector<PolicyFinding>& findings, const std::string& xml) {
    const auto lines = static_cast<size_t>(std::count(xml.begin(), xml.end(), '\n')) + 1;
    TextPosition last = {1, 1};
    for (const PolicyFinding& finding : findings) {
        const TextPosition& at = finding.position;
        CHECK(at.line >= 1 && at.line <= lines);
        CHECK(at.column >= 1 && at.column <= xml.size() + 1);
        CHECK(std::tie(last.line, last.column) <= std::tie(at.line, at.column));
        last = at;
    }
}

static void CheckFinding(const PolicyFinding& finding) {
    CHECK(!CodeName(finding.code).empty());
    CHECK(!finding.message.empty());
    const bool isMember = finding.code == FindingCode::kInvalidUpdateDescription ||
                          finding.code == FindingCode::kInvalidRule;
    CHECK(finding.suggestion.empty() || isMember || FindKnownItem(finding.suggestion) != nullptr);
}

static void CheckItems(const std::vector<PolicyStore::Item>& items,
                       const std::vector<PolicyFinding>& findings) {
    CHECK(Summaries(CheckPolicyItems(items)) == Summaries(findings));
    const Explanation explanation = ExplainPolicy(items);
    CHECK(explanation.modules.size() == BandwidthModules().size());
    for (const ExplainedModule& module : explanation.modules) {
        CHECK(module.limit != "none" || (module.bytesPerSecond == 0 && !module.reason.empty()));
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string xml(reinterpret_cast<const char*>(data), size);
    const std::vector<PolicyFinding> findings = CheckPolicyDocument(xml);
    std::for_each(findings.begin(), findings.end(), CheckFinding);
    CheckPositions(findings, xml);
    bool isRefused = false;
    try {
        CheckItems(PolicyStore::ParseDocument(xml, "fuzz"), findings);
    } catch (const PolicyStore::Error&) {
        isRefused = true;
    }
    CHECK(isRefused == (findings.size() == 1 && findings[0].code == FindingCode::kRefused));
    return 0;
}
