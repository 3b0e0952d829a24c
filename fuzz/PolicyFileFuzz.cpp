// Any bytes as a policy file: whatever it holds, reading it ends, and what is found is in the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Check.h"
#include "PolicyFile.h"
#include "TemporaryDirectory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TemporaryDirectory directory;
    const std::string path = directory / "1.cdb";
    const std::string contents(reinterpret_cast<const char*>(data), size);
    WriteFile(path, contents);

    const std::optional<PolicyFile> policy = PolicyFile::Open(path.c_str());
    if (!policy) {
        return 0;
    }
    std::string value = "unchanged";
    for (const std::string key : {"", "PolicyName", "AudioBandwidth", "no such item"}) {
        if (policy->Find(key, value)) {
            CHECK(contents.find(value) != std::string::npos);
        } else {
            CHECK(value == "unchanged");
        }
        value = "unchanged";
    }
    const std::optional<std::vector<PolicyStore::Item>> items = policy->Items();
    if (items) {
        for (const PolicyStore::Item& item : *items) {
            CHECK(contents.find(item.key) != std::string::npos);
            CHECK(contents.find(item.value) != std::string::npos);
        }
    }
    return 0;
}
