// Any bytes as a policy file: whatever it holds, reading it ends, and what is found is in the file.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Check.h"
#include "PolicyFile.h"
#include "TemporaryDirectory.h"

static void CheckItems(const PolicyFile& policy, const std::string& contents) {
    const std::optional<std::vector<PolicyStore::Item>> items = policy.Items();
    if (!items) {
        return;
    }
    for (const auto& [key, value] : *items) {
        CHECK(contents.find(key) != std::string::npos);
        CHECK(contents.find(value) != std::string::npos);
    }
}

static void CheckFind(const PolicyFile& policy, const std::string& contents) {
    for (const char* const key : {"", "PolicyName", "AutoConnectInterval", "no such item"}) {
        std::string value = "unchanged";
        if (policy.Find(key, value)) {
            CHECK(contents.find(value) != std::string::npos);
        } else {
            CHECK(value == "unchanged");
        }
    }
}

static void CheckFile(const std::string& contents) {
    static const TemporaryDirectory directory;
    const std::string path = directory / "1.cdb";
    WriteFile(path, contents);
    const std::optional<PolicyFile> policy = PolicyFile::Open(path.c_str());
    if (policy) {
        CheckItems(*policy, contents);
        CheckFind(*policy, contents);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string contents(reinterpret_cast<const char*>(data), size);
    CheckFile(contents);

    // Once more with the true size in the format record, without which no file is opened.
    constexpr size_t kSizeOffset = 2069;
    if (size >= kSizeOffset + 4) {
        for (size_t i = 0; i < 4; ++i) {
            contents[kSizeOffset + i] = static_cast<char>(size >> (8 * i));
        }
        CheckFile(contents);
    }
    return 0;
}
