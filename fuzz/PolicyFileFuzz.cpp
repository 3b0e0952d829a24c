// Any bytes as a policy file: whatever it holds, reading it ends, and what is found is in the file.
#include <xxhash.h>

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
    const std::optional<PolicyStore::Verification> verification = PolicyFile::Verify(path.c_str());
    CHECK(verification);
    // A limit of 0 makes it a large file.
    for (const size_t smallFile : {PolicyFile::kSmallFile, size_t{0}}) {
        const std::optional<PolicyFile> policy = PolicyFile::Open(path.c_str(), smallFile);
        if (policy) {
            CheckItems(*policy, contents);
            CheckFind(*policy, contents);
        } else if (smallFile != 0) {
            CHECK(!verification->damage.empty());
        }
    }
}

static void PutNumber(std::string& contents, size_t offset, uint64_t number, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        contents[offset + i] = static_cast<char>(number >> (8 * i));
    }
}

static uint64_t Checksum(const std::string& contents, size_t begin, size_t end) {
    return begin < end ? XXH3_64bits(&contents[begin], end - begin) : XXH3_64bits("", 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string contents(reinterpret_cast<const char*>(data), size);
    CheckFile(contents);

    // Again with the true size in the format record, and then with true checksums of header, body
    // and index, without which no file is opened.
    constexpr size_t kSizeOffset = 2069;
    constexpr size_t kChecksumOffset = kSizeOffset + 4;
    constexpr size_t kFirstItem = kChecksumOffset + 3 * 8;
    if (size >= kSizeOffset + 4) {
        PutNumber(contents, kSizeOffset, size, 4);
        CheckFile(contents);
    }
    if (size >= kFirstItem) {
        size_t index = 0;
        for (size_t i = 4; i-- > 0;) {
            index = index << 8 | static_cast<unsigned char>(contents[i]);
        }
        PutNumber(contents, kChecksumOffset, Checksum(contents, index, size), 8);
        PutNumber(contents, kChecksumOffset + 8, Checksum(contents, kFirstItem, size), 8);
        PutNumber(contents, kChecksumOffset + 16, Checksum(contents, 0, kChecksumOffset + 16), 8);
        CheckFile(contents);
    }
    return 0;
}
