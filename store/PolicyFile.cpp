#include "PolicyFile.h"

#include <cdb.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Environment.h"

namespace {

// A file of up to this size is read as a whole when it is opened.
constexpr std::size_t kSmallFile = std::size_t{64} << 10;

// The format record is the first record of the file, right after the table of contents. Its key
// begins with a NUL byte, which no item's key does.
constexpr unsigned kTableOfContentsSize = 2048;
constexpr char kFormatKey[] = {'\0', 'Z', 'n', 'P', 'o', 'l', 'i', 'c', 'y'};
constexpr unsigned kFormatVersion = 1;

// Its value: version and size of the whole file.
using FormatValue = std::array<unsigned char, 8>;

// The record as it stands in the file: key length, value length, key, value.
using FormatRecord = std::array<unsigned char, 8 + sizeof kFormatKey + sizeof(FormatValue)>;

constexpr unsigned kFirstItemPosition = kTableOfContentsSize + sizeof(FormatRecord);

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

// tinycdb's view of a whole file in memory. Its own cdb_init can only map a file.
struct cdb InMemory(std::string_view contents) {
    struct cdb database = CDB_STATIC_INIT;
    database.cdb_fd = -1;
    database.cdb_mem = reinterpret_cast<const unsigned char*>(contents.data());
    database.cdb_fsize = Length(contents);
    database.cdb_dend =
        std::clamp(cdb_unpack(database.cdb_mem), kTableOfContentsSize, database.cdb_fsize);
    return database;
}

// A range of the file; nothing when it does not lie within the file.
std::optional<std::string_view> Range(const struct cdb& database, unsigned length,
                                      unsigned position) {
    const auto* text = static_cast<const char*>(cdb_get(&database, length, position));
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string_view(text, length);
}

std::optional<std::vector<PolicyStore::Item>> ItemsInMemory(std::string_view contents) {
    struct cdb database = InMemory(contents);
    std::vector<PolicyStore::Item> items;
    unsigned position = kFirstItemPosition;
    int found = 0;
    while ((found = cdb_seqnext(&position, &database)) > 0) {
        const auto key = Range(database, cdb_keylen(&database), cdb_keypos(&database));
        const auto value = Range(database, cdb_datalen(&database), cdb_datapos(&database));
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

// Reads the next `size` bytes of `file`. Returns false, with errno set, when there are fewer.
bool ReadStart(const FileDescriptor& file, std::size_t size, std::string& contents) {
    contents.resize(size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = file.Read(&contents[done], size - done);
        if (count <= 0) {
            errno = count == 0 ? EINVAL : errno;
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool HasFormatRecord(std::string_view start, std::size_t fileSize) {
    const FormatRecord expected = MakeFormatRecord(static_cast<unsigned>(fileSize));
    return start.size() >= kFirstItemPosition &&
           std::memcmp(start.data() + kTableOfContentsSize, expected.data(), expected.size()) == 0;
}

// Looks `key` up with a few small reads.
bool FindInFile(const FileDescriptor& file, std::size_t fileSize, std::string_view key,
                std::string& value) {
    unsigned length = 0;
    if (cdb_seek(file.Get(), key.data(), Length(key), &length) <= 0 || length > fileSize) {
        return false;
    }
    std::string text(length, '\0');
    if (cdb_bread(file.Get(), text.data(), static_cast<int>(length)) != 0) {
        return false;
    }
    value = std::move(text);
    return true;
}

}  // namespace

const char* PolicyStoreDirectory() {
    const char* const directory = GetOverride("ZN_POLICY_STORE");
    return directory != nullptr ? directory : "/usr/local/PermanenceDataPath/PolicyStore";
}

std::optional<PolicyFile> PolicyFile::Open(const char* path) {
    FileDescriptor file = FileDescriptor::OpenRegularFile(path);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    PolicyFile policy;
    policy.size_ = static_cast<std::size_t>(status.st_size);
    if (policy.size_ > kMaxPolicyFileSize) {
        errno = EFBIG;
        return std::nullopt;
    }
    const bool small = policy.size_ <= kSmallFile;
    if (!ReadStart(file, small ? policy.size_ : kFirstItemPosition, policy.contents_)) {
        return std::nullopt;
    }
    if (!HasFormatRecord(policy.contents_, policy.size_)) {
        errno = EINVAL;
        return std::nullopt;
    }
    if (!small) {
        policy.contents_.clear();
        policy.file_ = std::move(file);
    }
    return policy;
}

bool PolicyFile::Find(std::string_view key, std::string& value) const {
    if (file_.IsOpen()) {
        return FindInFile(file_, size_, key, value);
    }
    struct cdb database = InMemory(contents_);
    if (cdb_find(&database, key.data(), Length(key)) <= 0) {
        return false;
    }
    const auto text = Range(database, cdb_datalen(&database), cdb_datapos(&database));
    if (text) {
        value.assign(*text);
    }
    return text.has_value();
}

std::optional<std::vector<PolicyStore::Item>> PolicyFile::Items() const {
    if (!file_.IsOpen()) {
        return ItemsInMemory(contents_);
    }
    std::string contents;
    if (lseek(file_.Get(), 0, SEEK_SET) != 0 || !ReadStart(file_, size_, contents)) {
        return std::nullopt;
    }
    return ItemsInMemory(contents);
}

bool WritePolicyFile(const FileDescriptor& file, const std::vector<PolicyStore::Item>& items) {
    const std::uint64_t fileSize = FileSize(items);
    if (fileSize > kMaxPolicyFileSize) {
        errno = EFBIG;
        return false;
    }
    struct cdb_make maker;
    if (cdb_make_start(&maker, file.Get()) != 0) {
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
