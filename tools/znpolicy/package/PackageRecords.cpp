#include "PackageRecords.h"

#include "PackageSelection.h"
#include "Table.h"

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
