#include "PackageRecords.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

#include "Json.h"
#include "PackageSelection.h"
#include "PolicyStore.h"
#include "ZnCrypto.h"
#include "ZnIni.h"
#include "ZnSysInfo.h"
#include "ZnVcUpdate.h"
#include "ZnXml.h"

// Decodes Base64; "" when the text is not Base64.
static std::string DecodeBase64(const std::string& text) {
    if (text.size() > INT_MAX) {
        return "";
    }
    std::string decoded(text.size(), '\0');
    const int size = ZnBase64::Decode(text, reinterpret_cast<unsigned char*>(decoded.data()),
                                      static_cast<int>(decoded.size()));
    decoded.resize(static_cast<size_t>(std::max(size, 0)));
    return decoded;
}

std::vector<ZnPackageInfo> ParseUpdateDescription(const std::string& text,
                                                  const std::string& name) {
    const bool isPlain = text.find('{') != std::string::npos;
    std::vector<ZnPackageInfo> records;
    if (ZnVcUpdate::ZnConvertToVekPackInfo(isPlain ? text : DecodeBase64(text), records) != 0) {
        throw std::runtime_error(name +
                                 ": no package records; expected a JSON object with a non-empty "
                                 "array \"packageInfo\", or Base64 of it");
    }
    return records;
}

// The first of the words that is not in the text, each of which the library looks for in a
// description; "" when all are.
static std::string MissingWord(const std::string& text) {
    for (const char* word : {"platform", "sha256Hash", "packageName"}) {
        if (text.find(word) == std::string::npos) {
            return word;
        }
    }
    return "";
}

// What keeps the library from looking for a description in the policy, in the order of its own
// conditions; "" for nothing.
static std::string PolicyProblem(int terminalId) {
    const std::string policy = "policy " + std::to_string(terminalId);
    const std::string tree = ZnSysInfo::GetCurrentProcessDirectory() + "/microservices/Package";
    if (access(tree.c_str(), F_OK) != 0) {
        return "there is no directory " + tree;
    }
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        (void)PolicyStore().Read(
            terminalId);  // throws: it tells a missing policy from a damaged one
        return policy + " cannot be loaded";
    }
    std::string text;
    if (!xml.GetXmlContent("PolicyName", text)) {
        return policy + " has no item \"PolicyName\"";
    }
    int enabled = 0;
    if (!xml.GetXmlContent("VirtualChannelEnable", enabled) || enabled == 0) {
        return policy + " does not enable virtual channels (item \"VirtualChannelEnable\")";
    }
    return "";
}

// What is wrong with the description of a policy, given as far as it could be decoded; "" for
// nothing.
static std::string DescriptionProblem(int terminalId, const std::string& reached) {
    const std::string policy = "policy " + std::to_string(terminalId);
    if (reached.empty()) {
        return policy +
               " has no update description in \"VirtualChannelPluginDetails\" that is "
               "plain JSON or Base64";
    }
    const std::string word = MissingWord(reached);
    return word.empty()
               ? ""
               : "the update description of " + policy + " does not mention \"" + word + "\"";
}

// Why the library refuses the terminal's update description.
static std::string DescribeRefusal(int terminalId, const std::string& reached) {
    for (const std::string& problem :
         {PolicyProblem(terminalId), DescriptionProblem(terminalId, reached)}) {
        if (!problem.empty()) {
            return problem;
        }
    }
    return "the update description of policy " + std::to_string(terminalId) +
           " cannot be stored in /usr/local/vornserver";
}

std::string TakeUpdateDescription(int terminalId) {
    std::string description;
    if (ZnVcUpdate::ZnVmVekJsonUpdateInfo(terminalId, description) != 0) {
        throw std::runtime_error(DescribeRefusal(terminalId, description));
    }
    return description;
}

// The item that the library takes the description from.
static std::string DescriptionItem(int terminalId) {
    constexpr const char* kDebugFile =
        "/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini";
    ZnXml xml;
    xml.LoadPolicyShareMemory(terminalId);
    std::string text;
    if (xml.GetXmlContent("VirtualChannelPluginDetails", text) && text.size() >= 2) {
        return text;
    }
    text.clear();
    if (IniGetInt("PolicyName", "debugVc", 0, kDebugFile) == 1) {
        xml.GetXmlContent("ThirdPartyPluginNames", text);
    }
    return text;
}

std::string PeekUpdateDescription(int terminalId) {
    const std::string problem = PolicyProblem(terminalId);
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
    std::string description = DescriptionItem(terminalId);
    if (!MissingWord(description).empty()) {
        description = DecodeBase64(description);
        description.resize(std::strlen(description.c_str()));  // it ends at its first NUL
    }
    if (!MissingWord(description).empty()) {
        throw std::runtime_error(DescriptionProblem(terminalId, description));
    }
    return description;
}

Json RecordsToJson(const std::vector<ZnPackageInfo>& records) {
    Json document = Json::array();
    for (const ZnPackageInfo& record : records) {
        document.push_back({
            {"application", FieldText(record.application)},
            {"description", FieldText(record.description)},
            {"downloadUrl", FieldText(record.downloadUrl)},
            {"downloadZipSha256Hash", FieldText(record.downloadZipSha256Hash)},
            {"releaseDate", FieldText(record.releaseDate)},
            {"microserviceName", FieldText(record.microserviceName)},
            {"version", FieldText(record.version)},
            {"platform", FieldText(record.platform)},
            {"packageName", FieldText(record.packageName)},
            {"sha256Hash", FieldText(record.sha256Hash)},
            {"size", record.size},
        });
    }
    return document;
}

void PrintRecords(const std::vector<ZnPackageInfo>& records) {
    constexpr size_t kDigestShown = 16;
    Table table({"PACKAGE", "VERSION", "PLATFORM", "SIZE", "SHA-256"});
    for (const ZnPackageInfo& record : records) {
        const std::string digest(FieldText(record.sha256Hash));
        table.AddRow(
            {std::string(FieldText(record.packageName)), std::string(FieldText(record.version)),
             std::string(FieldText(record.platform)), HumanSize(record.size),
             digest.size() > kDigestShown ? digest.substr(0, kDigestShown) + "..." : digest});
    }
    table.Print();
}
