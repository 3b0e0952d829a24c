#include "PolicyFile.h"

#include <cdb.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "Environment.h"

namespace {

constexpr unsigned kTableOfContentsSize = 2048;

// The format record follows the table of contents: lengths of key and value, the key, the version
// of the format, and the size of the whole file. The key begins with a NUL byte, which no item's
// key does.
constexpr std::string_view kFormatRecordStart("\x09\0\0\0\x08\0\0\0\0ZnPolicy\x01\0\0\0", 21);
constexpr std::string_view kFormatKey = kFormatRecordStart.substr(8, 9);
constexpr std::string_view kFormatVersion = kFormatRecordStart.substr(17);

constexpr unsigned kFileSizePosition = kTableOfContentsSize + kFormatRecordStart.size();
constexpr unsigned kFirstItemPosition = kFileSizePosition + 4;

unsigned Length(std::string_view text) {
    return static_cast<unsigned>(text.size());
}

std::uint32_t Unpack(const char* number) {
    return cdb_unpack(reinterpret_cast<const unsigned char*>(number));
}

bool AddRecord(struct cdb_make& maker, std::string_view key, std::string_view value) {
    return cdb_make_add(&maker, key.data(), Length(key), value.data(), Length(value)) == 0;
}

bool AddRecords(struct cdb_make& maker, std::size_t fileSize,
                const std::vector<PolicyStore::Item>& items) {
    unsigned char packedSize[4];
    cdb_pack(static_cast<unsigned>(fileSize), packedSize);
    std::string format(kFormatVersion);
    format.append(std::begin(packedSize), std::end(packedSize));
    return AddRecord(maker, kFormatKey, format) &&
           std::all_of(items.begin(), items.end(), [&](const PolicyStore::Item& item) {
               return AddRecord(maker, item.key, item.value);
           });
}

}  // namespace

const char* PolicyStoreDirectory() {
    const char* const directory = GetOverride("ZN_POLICY_STORE");
    return directory != nullptr ? directory : "/usr/local/PermanenceDataPath/PolicyStore";
}

std::optional<PolicyFile> PolicyFile::Open(const char* path, std::size_t smallFile) {
    FileDescriptor file = FileDescriptor::OpenRegularFile(path);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > kMaxPolicyFileSize) {
        errno = EFBIG;
        return std::nullopt;
    }
    PolicyFile policy(std::move(file), size);
    const bool isSmall = size <= smallFile;
    if (!policy.ReadStart(isSmall ? size : kFirstItemPosition)) {
        return std::nullopt;
    }
    if (!policy.HasFormatRecord()) {
        errno = EINVAL;
        return std::nullopt;
    }
    if (isSmall) {
        policy.file_.Close();
    }
    return policy;
}

bool PolicyFile::Find(std::string_view key, std::string& value) const {
    const auto range = FindValue(key);
    auto text = range ? ReadText(*range) : std::nullopt;
    if (text) {
        value = std::move(*text);
    }
    return text.has_value();
}

std::optional<std::vector<PolicyStore::Item>> PolicyFile::Items() const {
    const auto firstTable = ReadPair(0);
    if (!firstTable) {
        return std::nullopt;
    }
    std::vector<PolicyStore::Item> items;
    std::uint64_t position = kFirstItemPosition;
    while (position < firstTable->first) {
        const auto lengths = ReadPair(position);
        if (!lengths) {
            return std::nullopt;
        }
        const Range keyRange = {position + 8, lengths->first};
        const Range valueRange = {keyRange.position + keyRange.size, lengths->second};
        auto key = ReadText(keyRange);
        auto value = ReadText(valueRange);
        if (!key || !value) {
            return std::nullopt;
        }
        items.push_back({std::move(*key), std::move(*value)});
        position = valueRange.position + valueRange.size;
    }
    return items;
}

// Reads the first `size` bytes of the file. Sets errno on failure.
bool PolicyFile::ReadStart(std::size_t size) {
    start_.resize(size);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = file_.Read(&start_[done], size - done);
        if (count <= 0) {
            errno = count == 0 ? EINVAL : errno;
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool PolicyFile::HasFormatRecord() const {
    const std::string_view start = start_;
    return start.size() >= kFirstItemPosition &&
           start.substr(kTableOfContentsSize, kFormatRecordStart.size()) == kFormatRecordStart &&
           Unpack(&start[kFileSizePosition]) == size_;
}

// The table of contents has the position and the number of slots of 256 hash tables. A slot has a
// hash value and the position of a record, or 0 when it is empty and ends the search.
std::optional<PolicyFile::Range> PolicyFile::FindValue(std::string_view key) const {
    char record[8 + PolicyStore::kMaxKeyLength];
    const std::size_t recordSize = 8 + key.size();
    if (recordSize > sizeof record) {
        return std::nullopt;
    }
    const std::uint32_t hash = cdb_hash(key.data(), Length(key));
    const auto table = ReadPair(std::uint64_t{hash % 256} * 8);
    const std::uint32_t slots = table ? table->second : 0;
    std::uint32_t slot = slots != 0 ? (hash >> 8) % slots : 0;
    for (std::uint32_t tried = 0; tried < slots; ++tried) {
        const auto entry = ReadPair(table->first + std::uint64_t{slot} * 8);
        if (!entry || entry->second == 0) {
            return std::nullopt;
        }
        // One read for the lengths and the key.
        if (entry->first == hash && Read(entry->second, record, recordSize) &&
            Unpack(record) == key.size() && std::string_view(record + 8, key.size()) == key) {
            return Range{std::uint64_t{entry->second} + recordSize, Unpack(record + 4)};
        }
        slot = slot + 1 < slots ? slot + 1 : 0;
    }
    return std::nullopt;
}

bool PolicyFile::Read(std::uint64_t position, char* buffer, std::size_t size) const {
    if (position + size > size_) {
        return false;
    }
    if (position + size <= start_.size()) {
        std::memcpy(buffer, start_.data() + position, size);
        return true;
    }
    return file_.ReadAt(buffer, size, static_cast<off_t>(position)) == static_cast<ssize_t>(size);
}

std::optional<PolicyFile::Pair> PolicyFile::ReadPair(std::uint64_t position) const {
    char pair[8];
    if (!Read(position, pair, sizeof pair)) {
        return std::nullopt;
    }
    return Pair{Unpack(pair), Unpack(pair + 4)};
}

std::optional<std::string> PolicyFile::ReadText(const Range& range) const {
    if (range.position + range.size > size_) {
        return std::nullopt;  // before it costs memory
    }
    std::string text(range.size, '\0');
    if (!Read(range.position, text.data(), text.size())) {
        return std::nullopt;
    }
    return text;
}

bool WritePolicyFile(const FileDescriptor& file, const std::vector<PolicyStore::Item>& items) {
    std::size_t fileSize = kEmptyPolicyFileSize;
    for (const PolicyStore::Item& item : items) {
        fileSize += PolicyFileSizeOfItem(item.key.size(), item.value.size());
    }
    if (fileSize > kMaxPolicyFileSize) {
        errno = EFBIG;
        return false;
    }
    struct cdb_make maker;
    if (cdb_make_start(&maker, file.Get()) != 0) {
        return false;
    }
    const bool added = AddRecords(maker, fileSize, items);
    const int reason = errno;
    const bool finished = cdb_make_finish(&maker) == 0;  // releases the maker in any case
    if (!added) {
        errno = reason;
    }
    return added && finished;
}
