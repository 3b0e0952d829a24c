// Any bytes as a policy document: it is refused with line and column, or its items are valid.
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "Check.h"
#include "PolicyStore.h"

// Whether `message` begins with the document's name, a line and a column, both from 1.
static bool NamesPosition(const std::string& message) {
    int line = 0;
    int column = 0;
    return std::sscanf(message.c_str(), "policy.xml:%d:%d: ", &line, &column) == 2 && line >= 1 &&
           column >= 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    try {
        std::set<std::string> keys;
        for (const auto& [key, value] : PolicyStore::ParseDocument(document, "policy.xml")) {
            CHECK(!key.empty() && key.size() <= PolicyStore::kMaxKeyLength);
            CHECK(key.find('\0') == std::string::npos && value.find('\0') == std::string::npos);
            CHECK(value.size() <= size);  // references are longer than what they stand for
            CHECK(keys.insert(key).second);
        }
    } catch (const PolicyStore::Error& error) {
        CHECK(NamesPosition(error.what()));
    }
    return 0;
}
