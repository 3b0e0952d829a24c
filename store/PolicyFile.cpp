#include "PolicyFile.h"

#include <cdb.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "Environment.h"

namespace {

constexpr unsigned kTableOfContentsSize = 2048;

// The format record follows the table of contents: lengths of key and value, the key, the version
// of the format, the size of the whole file, and checksums. The key begins with a NUL byte, which
// no item's key does.
constexpr std::string_view kFormatRecordStart("\x09\0\0\0\x20\0\0\0\0ZnPolicy\x02\0\0\0", 21);
constexpr std::string_view kFormatKey = kFormatRecordStart.substr(8, 9);
constexpr std::string_view kFormatVersion = kFormatRecordStart.substr(17);

constexpr unsigned kFileSizePosition = kTableOfContentsSize + kFormatRecordStart.size();
constexpr unsigned kIndexChecksumPosition = kFileSizePosition + 4;       // of the hash tables
constexpr unsigned kBodyChecksumPosition = kIndexChecksumPosition + 8;   // of items, hash tables
constexpr unsigned kHeaderChecksumPosition = kBodyChecksumPosition + 8;  // of all that precedes it
constexpr unsigned kFirstItemPosition = kHeaderChecksumPosition + 8;
constexpr std::size_t kChecksumSize = 8;

// Version 1 has no checksums.
constexpr std::string_view kVersion1RecordStart("\x09\0\0\0\x08\0\0\0\0ZnPolicy\x01\0\0\0", 21);
constexpr unsigned kVersion1FirstItemPosition = kFileSizePosition + 4;

unsigned Length(std::string_view text) {
    return static_cast<unsigned>(text.size());
}

std::uint32_t Unpack(const char* number) {
    return cdb_unpack(reinterpret_cast<const unsigned char*>(number));
}

std::uint64_t UnpackChecksum(const char* checksum) {
    return Unpack(checksum) | std::uint64_t{Unpack(checksum + 4)} << 32;
}

void Append(std::string& text, std::uint32_t number) {
    unsigned char bytes[4];
    cdb_pack(number, bytes);
    text.append(std::begin(bytes), std::end(bytes));
}

void AppendChecksum(std::string& text, std::uint64_t checksum) {
    Append(text, static_cast<std::uint32_t>(checksum));
    Append(text, static_cast<std::uint32_t>(checksum >> 32));
}

std::uint64_t Checksum(std::string_view bytes) {
    return XXH3_64bits(bytes.data(), bytes.size());
}

std::uint64_t ItemChecksum(std::string_view key, std::string_view value) {
    return XXH3_64bits_withSeed(value.data(), value.size(), Checksum(key));
}

bool AddRecord(struct cdb_make& maker, std::string_view key, std::string_view value) {
    return cdb_make_add(&maker, key.data(), Length(key), value.data(), Length(value)) == 0;
}

// Leaves the checksums of the format record 0.
bool AddRecords(struct cdb_make& maker, std::size_t fileSize,
                const std::vector<PolicyStore::Item>& items) {
    std::string value(kFormatVersion);
    Append(value, static_cast<std::uint32_t>(fileSize));
    value.append(3 * kChecksumSize, '\0');
    return AddRecord(maker, kFormatKey, value) &&
           std::all_of(items.begin(), items.end(), [&](const PolicyStore::Item& item) {
               value = item.value;
               AppendChecksum(value, ItemChecksum(item.key, item.value));
               return AddRecord(maker, item.key, value);
           });
}

// Feeds the bytes of the file from `position` to `end` to `checksum`.
bool AddToChecksum(XXH3_state_t& checksum, const FileDescriptor& file, std::size_t position,
                   std::size_t end) {
    char buffer[16384];
    while (position < end) {
        const std::size_t size = std::min(sizeof buffer, end - position);
        if (file.ReadAt(buffer, size, static_cast<off_t>(position)) != static_cast<ssize_t>(size)) {
            return false;
        }
        XXH3_64bits_update(&checksum, buffer, size);
        position += size;
    }
    return true;
}

// Writes the checksums of the finished file into its format record.
bool WriteChecksums(const FileDescriptor& file, std::size_t fileSize) {
    std::string header(kHeaderChecksumPosition, '\0');
    if (file.ReadAt(header.data(), header.size(), 0) != static_cast<ssize_t>(header.size())) {
        return false;
    }
    const std::size_t index = Unpack(header.data());
    XXH3_state_t body;
    XXH3_64bits_reset(&body);
    XXH3_state_t hashTables;
    XXH3_64bits_reset(&hashTables);
    if (!AddToChecksum(body, file, kFirstItemPosition, fileSize) ||
        !AddToChecksum(hashTables, file, index, fileSize)) {
        return false;
    }
    header.resize(kIndexChecksumPosition);
    AppendChecksum(header, XXH3_64bits_digest(&hashTables));
    AppendChecksum(header, XXH3_64bits_digest(&body));
    AppendChecksum(header, Checksum(header));
    const std::string_view checksums = std::string_view(header).substr(kIndexChecksumPosition);
    const auto size = static_cast<long long>(checksums.size());
    return lseek(file.Get(), kIndexChecksumPosition, SEEK_SET) >= 0 &&
           file.Write(checksums.data(), size) == size;
}

}  // namespace

const char* PolicyStoreDirectory() {
    const char* const directory = GetOverride("ZN_POLICY_STORE");
    return directory != nullptr ? directory : "/usr/local/PermanenceDataPath/PolicyStore";
}

std::optional<PolicyFile> PolicyFile::Open(const char* path, std::size_t smallFile) {
    std::optional<PolicyFile> policy = Load(path, smallFile);
    if (!policy) {
        return std::nullopt;
    }
    const bool isWhole = policy->start_.size() == policy->size_;
    if (!policy->HasFormat() || !policy->IsHeaderIntact() ||
        !(isWhole ? policy->IsBodyIntact() : policy->IsIndexIntact())) {
        errno = EINVAL;
        return std::nullopt;
    }
    policy->isBodyVerified_ = isWhole;
    return policy;
}

std::optional<PolicyStore::Verification> PolicyFile::Verify(const char* path) {
    std::optional<PolicyFile> policy = Load(path, kMaxPolicyFileSize);
    if (!policy) {
        return std::nullopt;
    }
    PolicyStore::Verification result;
    if (!policy->HasFormat()) {
        result.damage = {"not a policy file, or truncated"};
        return result;
    }
    result.hasChecksums = policy->hasChecksums_;
    if (!policy->IsHeaderIntact()) {
        result.damage = {"the header is damaged"};
        return result;
    }
    result.damage = policy->DamagedItems();
    if (!policy->IsIndexIntact()) {
        result.damage.emplace_back("the index is damaged");
    }
    if (result.damage.empty() && (!policy->IsBodyIntact() || !policy->Items())) {
        result.damage.emplace_back("the items are damaged");
    }
    return result;
}

bool PolicyFile::Find(std::string_view key, std::string& value) const {
    const auto range = FindValue(key);
    auto text = range ? ReadText(*range) : std::nullopt;
    if (!text || !TakeValue(key, *text)) {
        return false;
    }
    value = std::move(*text);
    return true;
}

std::optional<std::vector<PolicyStore::Item>> PolicyFile::Items() const {
    const auto firstTable = ReadPair(0);
    if (!firstTable) {
        return std::nullopt;
    }
    std::vector<PolicyStore::Item> items;
    std::uint64_t position = firstItem_;
    while (position < firstTable->first) {
        auto record = ReadRecord(position);
        if (!record || !record->isIntact) {
            return std::nullopt;
        }
        items.push_back(std::move(record->item));
        position = record->end;
    }
    // The items end where the index begins, which has 16 bytes for each record.
    const bool isComplete =
        position == firstTable->first && size_ - position == (items.size() + 1) * 16;
    return isComplete ? std::make_optional(std::move(items)) : std::nullopt;
}

// Opens the file and reads its start, without verifying anything.
std::optional<PolicyFile> PolicyFile::Load(const char* path, std::size_t smallFile) {
    // Like FileDescriptor::OpenRegularFile(), but with one fstat() for the size, too: the bound of
    // read/ours in bench/PolicyBench.bounds needs this.
    FileDescriptor file = FileDescriptor::Open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
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
    if (isSmall) {
        policy.file_.Close();
    }
    return policy;
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

// Recognises the format version. Compares the sizes of the file.
bool PolicyFile::HasFormat() {
    const std::string_view start = start_;
    if (start.size() < kVersion1FirstItemPosition || Unpack(&start[kFileSizePosition]) != size_) {
        return false;
    }
    const std::string_view record = start.substr(kTableOfContentsSize, kFormatRecordStart.size());
    hasChecksums_ = record == kFormatRecordStart && start.size() >= kFirstItemPosition;
    firstItem_ = hasChecksums_ ? kFirstItemPosition : kVersion1FirstItemPosition;
    return hasChecksums_ || record == kVersion1RecordStart;
}

// The header is the table of contents and the format record.
bool PolicyFile::IsHeaderIntact() const {
    if (hasChecksums_) {
        return Checksum(std::string_view(start_).substr(0, kHeaderChecksumPosition)) ==
               UnpackChecksum(&start_[kHeaderChecksumPosition]);
    }
    // The hash tables follow one another, and the last one ends the file.
    std::uint64_t end = Unpack(start_.data());
    for (unsigned table = 0; table < kTableOfContentsSize; table += 8) {
        if (Unpack(&start_[table]) != end) {
            return false;
        }
        end += std::uint64_t{Unpack(&start_[table + 4])} * 8;
    }
    return end == size_;
}

// The index is the hash tables.
bool PolicyFile::IsIndexIntact() const {
    const std::size_t position = Unpack(start_.data());
    if (!hasChecksums_ || position > size_) {
        return position <= size_;
    }
    XXH3_state_t checksum;
    XXH3_64bits_reset(&checksum);
    if (start_.size() == size_) {
        XXH3_64bits_update(&checksum, &start_[position], size_ - position);
    } else if (!AddToChecksum(checksum, file_, position, size_)) {
        return false;
    }
    return XXH3_64bits_digest(&checksum) == UnpackChecksum(&start_[kIndexChecksumPosition]);
}

// Of a whole file: the body is the items and the index.
bool PolicyFile::IsBodyIntact() const {
    return !hasChecksums_ || Checksum(std::string_view(start_).substr(kFirstItemPosition)) ==
                                 UnpackChecksum(&start_[kBodyChecksumPosition]);
}

// Returns a description of every item that is damaged or cannot be found.
std::vector<std::string> PolicyFile::DamagedItems() const {
    std::vector<std::string> damage;
    const std::uint64_t end = Unpack(start_.data());
    for (std::uint64_t position = firstItem_; position < end;) {
        const auto record = ReadRecord(position);
        std::string found;
        if (!record) {
            damage.push_back("the item at byte " + std::to_string(position) + " is damaged");
            break;
        }
        if (!record->isIntact) {
            damage.push_back("the item \"" + record->item.key + "\" at byte " +
                             std::to_string(position) + " is damaged");
        } else if (!Find(record->item.key, found) || found != record->item.value) {
            damage.push_back("the item \"" + record->item.key + "\" cannot be found");
        }
        position = record->end;
    }
    return damage;
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

// Takes the checksum off the value of a record. Returns false when it does not match.
bool PolicyFile::TakeValue(std::string_view key, std::string& record) const {
    if (!hasChecksums_) {
        return true;
    }
    if (record.size() < kChecksumSize) {
        return false;
    }
    const std::size_t size = record.size() - kChecksumSize;
    const std::uint64_t checksum = UnpackChecksum(&record[size]);
    record.resize(size);
    return isBodyVerified_ || ItemChecksum(key, record) == checksum;
}

std::optional<PolicyFile::Record> PolicyFile::ReadRecord(std::uint64_t position) const {
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
    const bool isIntact = TakeValue(*key, *value);
    return Record{
        {std::move(*key), std::move(*value)}, isIntact, valueRange.position + valueRange.size};
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
    return added && finished && WriteChecksums(file, fileSize);
}
