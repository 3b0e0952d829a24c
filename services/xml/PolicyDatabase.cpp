#include "PolicyDatabase.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "SecureEnv.h"

namespace {

// The format record: the first record of the file, right behind the table of contents. Its key
// begins with a NUL byte, as no item's key does.
constexpr unsigned kFormatRecordPosition = 2048;
constexpr char kFormatKey[] = {'\0', 'Z', 'n', 'P', 'o', 'l', 'i', 'c', 'y'};
constexpr unsigned kFormatVersion = 1;

// Its value: version and size of the whole file.
using FormatValue = std::array<unsigned char, 8>;

// The record as it stands in the file: key length, value length, key, value.
using FormatRecord = std::array<unsigned char, 8 + sizeof kFormatKey + sizeof(FormatValue)>;

constexpr unsigned kFirstItemPosition = kFormatRecordPosition + sizeof(FormatRecord);

FormatValue MakeFormatValue(unsigned fileSize) {
    FormatValue value;
    cdb_pack(kFormatVersion, value.data());
    cdb_pack(fileSize, value.data() + 4);
    return value;
}

FormatRecord MakeFormatRecord(unsigned fileSize) {
    const FormatValue value = MakeFormatValue(fileSize);
    FormatRecord record;
    cdb_pack(sizeof kFormatKey, record.data());
    cdb_pack(static_cast<unsigned>(value.size()), record.data() + 4);
    std::memcpy(record.data() + 8, kFormatKey, sizeof kFormatKey);
    std::memcpy(record.data() + 8 + sizeof kFormatKey, value.data(), value.size());
    return record;
}

bool HasFormatRecord(const struct cdb& database) {
    const FormatRecord expected = MakeFormatRecord(database.cdb_fsize);
    FormatRecord found;
    return cdb_read(&database, found.data(), found.size(), kFormatRecordPosition) == 0 &&
           found == expected;
}

unsigned Length(std::string_view text) {
    return static_cast<unsigned>(text.size());
}

// The size that the file of `items` will have: table of contents, records with two lengths each,
// and two slots of eight bytes in the hash tables for every record.
std::uint64_t FileSize(const std::vector<PolicyStore::Item>& items) {
    constexpr std::uint64_t slots = std::uint64_t{2} * 8;
    std::uint64_t size = kFirstItemPosition + slots;
    for (const PolicyStore::Item& item : items) {
        size += 8 + item.key.size() + item.value.size() + slots;
    }
    return size;
}

bool AddRecords(struct cdb_make& maker, unsigned fileSize,
                const std::vector<PolicyStore::Item>& items) {
    const FormatValue format = MakeFormatValue(fileSize);
    if (cdb_make_add(&maker, kFormatKey, sizeof kFormatKey, format.data(),
                     static_cast<unsigned>(format.size())) != 0) {
        return false;
    }
    for (const PolicyStore::Item& item : items) {
        if (cdb_make_add(&maker, item.key.data(), Length(item.key), item.value.data(),
                         Length(item.value)) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

const char* PolicyStoreDirectory() {
    const char* directory = SecureGetEnv("ZN_POLICY_STORE");
    if (directory == nullptr || *directory == '\0') {
        return "/usr/local/PermanenceDataPath/PolicyStore";
    }
    return directory;
}

PolicyDatabase::~PolicyDatabase() {
    cdb_free(&cdb_);
}

bool PolicyDatabase::Open(const char* path) {
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) {
        return false;
    }
    const bool mapped = cdb_init(&cdb_, file) == 0;
    close(file);  // the mapping stays
    if (!mapped || !HasFormatRecord(cdb_)) {
        errno = EINVAL;
        return false;
    }
    return true;
}

std::optional<std::string_view> PolicyDatabase::Find(std::string_view key) {
    if (cdb_find(&cdb_, key.data(), Length(key)) <= 0) {
        return std::nullopt;
    }
    return Text(cdb_datalen(&cdb_), cdb_datapos(&cdb_));
}

std::optional<std::vector<PolicyStore::Item>> PolicyDatabase::Items() {
    std::vector<PolicyStore::Item> items;
    unsigned position = kFirstItemPosition;
    int found = 0;
    while ((found = cdb_seqnext(&position, &cdb_)) > 0) {
        const auto key = Text(cdb_keylen(&cdb_), cdb_keypos(&cdb_));
        const auto value = Text(cdb_datalen(&cdb_), cdb_datapos(&cdb_));
        if (!key || !value) {
            return std::nullopt;
        }
        items.push_back({std::string(*key), std::string(*value)});
    }
    if (found < 0) {
        return std::nullopt;
    }
    return items;
}

std::optional<std::string_view> PolicyDatabase::Text(unsigned length, unsigned position) const {
    const auto* text = static_cast<const char*>(cdb_get(&cdb_, length, position));
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string_view(text, length);
}

bool WritePolicyDatabase(int file, const std::vector<PolicyStore::Item>& items) {
    const std::uint64_t fileSize = FileSize(items);
    if (fileSize > UINT32_MAX) {
        errno = EFBIG;
        return false;
    }
    struct cdb_make maker;
    if (cdb_make_start(&maker, file) != 0) {
        return false;
    }
    const bool added = AddRecords(maker, static_cast<unsigned>(fileSize), items);
    const int reason = errno;
    const bool finished = cdb_make_finish(&maker) == 0;  // also frees what the maker holds
    if (!added) {
        errno = reason;
    }
    return added && finished;
}
