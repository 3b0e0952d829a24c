#include "Records.h"

#include <unistd.h>

#include <climits>
#include <cstring>
#include <stdexcept>

#include "PolicyStore.h"
#include "ZnCrypto.h"
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
    decoded.resize(static_cast<size_t>(size));
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

// Why the library refuses the terminal's update description: its own conditions, in its order.
static std::string DescribeRefusal(int terminalId, const std::string& reached) {
    const std::string policy = "policy " + std::to_string(terminalId);
    const std::string tree = ZnSysInfo::GetCurrentProcessDirectory() + "/microservices/Package";
    if (access(tree.c_str(), F_OK) != 0) {
        return "there is no directory " + tree;
    }
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        return "there is no " + policy + " in " + PolicyStore::DefaultDirectory();
    }
    std::string text;
    if (!xml.GetXmlContent("PolicyName", text)) {
        return policy + " has no item \"PolicyName\"";
    }
    int enabled = 0;
    if (!xml.GetXmlContent("VirtualChannelEnable", enabled) || enabled == 0) {
        return policy + " does not enable virtual channels (item \"VirtualChannelEnable\")";
    }
    if (reached.empty()) {
        return policy +
               " has no update description in \"VirtualChannelPluginDetails\" that is "
               "plain JSON or Base64";
    }
    for (const char* word : {"platform", "sha256Hash", "packageName"}) {
        if (reached.find(word) == std::string::npos) {
            return "the update description of " + policy + " does not mention \"" + word + "\"";
        }
    }
    return "the update description of " + policy + " cannot be stored in /usr/local/vornserver";
}

std::string TakeUpdateDescription(int terminalId) {
    std::string description;
    if (ZnVcUpdate::ZnVmVekJsonUpdateInfo(terminalId, description) != 0) {
        throw std::runtime_error(DescribeRefusal(terminalId, description));
    }
    return description;
}

std::string PeekUpdateDescription(int terminalId) {
    ZnXml xml;
    std::string text;
    if (!xml.LoadPolicyShareMemory(terminalId) ||
        !xml.GetXmlContent("VirtualChannelPluginDetails", text)) {
        throw std::runtime_error(DescribeRefusal(terminalId, ""));
    }
    return text;
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
        const std::string digest = FieldText(record.sha256Hash);
        table.AddRow(
            {FieldText(record.packageName), FieldText(record.version), FieldText(record.platform),
             HumanSize(record.size),
             digest.size() > kDigestShown ? digest.substr(0, kDigestShown) + "..." : digest});
    }
    table.Print();
}
