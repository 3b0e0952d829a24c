// Any text as an update description, compared with nlohmann/json where both can read it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "Check.h"
#include "RecordingLogger.h"
#include "ZnJson.h"
#include "ZnVcUpdate.h"

using Json = nlohmann::json;

// The document, or a discarded value when the peer cannot parse it or it repeats a name, which the
// two treat differently.
static Json ReadByPeer(const std::string& text) {
    std::vector<std::set<std::string>> names;
    bool twice = false;
    const auto watch = [&](int depth, Json::parse_event_t event, const Json& value) {
        names.resize(std::max(names.size(), static_cast<size_t>(depth) + 1));
        if (event == Json::parse_event_t::object_start) {
            names.resize(static_cast<size_t>(depth) + 2);
            names.back().clear();
        } else if (event == Json::parse_event_t::key) {
            twice =
                !names[static_cast<size_t>(depth)].insert(value.get<std::string>()).second || twice;
        }
        return true;
    };
    Json document = Json::parse(text, watch, false);
    return twice ? Json(Json::value_t::discarded) : document;
}

static std::string TextOf(const Json& element, const char* member) {
    const bool has = element.is_object() && element.contains(member);
    return has && element[member].is_string() ? element[member].get<std::string>() : "";
}

// Checks the whole field: the text up to its first NUL if it fits, then zeros.
template <size_t N>
static void CheckField(const char (&field)[N], const std::string& text) {
    char expected[N] = {};
    if (text.size() < N) {
        std::strncpy(expected, text.c_str(), N);
    }
    CHECK(std::memcmp(field, expected, N) == 0);
}

static void CheckRecord(const ZnPackageInfo& record, const Json& element) {
    CheckField(record.application, TextOf(element, "application"));
    CheckField(record.description, TextOf(element, "description"));
    CheckField(record.downloadUrl, TextOf(element, "downloadUrl"));
    CheckField(record.downloadZipSha256Hash, TextOf(element, "downloadZipSha256Hash"));
    CheckField(record.releaseDate, TextOf(element, "releaseDate"));
    CheckField(record.microserviceName, TextOf(element, "microserviceName"));
    CheckField(record.version, TextOf(element, "version"));
    CheckField(record.platform, TextOf(element, "platform"));
    CheckField(record.packageName, TextOf(element, "packageName"));
    CheckField(record.sha256Hash, TextOf(element, "sha256Hash"));
    CHECK(record.size == std::atoi(TextOf(element, "size").c_str()));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    RecordingLogger::Clear();

    std::vector<ZnPackageInfo> records;
    const int result = ZnVcUpdate::ZnConvertToVekPackInfo(text, records);
    CHECK(result == (records.empty() ? kFailure : kSuccess));
    CHECK(RecordingLogger::Records().size() == (records.empty() ? 1 : 0));

    // Records are appended to a list, which succeeds even when none are.
    std::vector<ZnPackageInfo> longer(1);
    CHECK(ZnVcUpdate::ZnConvertToVekPackInfo(text, longer) == (text.empty() ? kFailure : kSuccess));
    CHECK(longer.size() == records.size() + 1);
    CHECK(records.empty() ||
          std::memcmp(&longer[1], records.data(), records.size() * sizeof(ZnPackageInfo)) == 0);

    const Json document = ReadByPeer(text);
    if (document.is_discarded() || ZnJson::Value(text).IsEmpty()) {
        return 0;
    }
    const Json packages =
        document.is_object() && document.contains("packageInfo") ? document["packageInfo"] : Json();
    CHECK(records.size() == (packages.is_array() ? packages.size() : 0));
    for (size_t i = 0; i < records.size(); ++i) {
        CheckRecord(records[i], packages[i]);
    }
    return 0;
}
