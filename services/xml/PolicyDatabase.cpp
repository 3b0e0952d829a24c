#include "PolicyDatabase.h"

#include <cdb.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>

#include "SecureEnv.h"

namespace {

// The constant database begins with 256 pairs of numbers, where each hash table stands and how many
// slots it has, and ends with the hash tables: slots of a hash value and a record's position. A
// record is the lengths of key and value, key, value. All numbers are 32-bit little-endian.
constexpr unsigned kTables = 256;
constexpr unsigned kPairSize = 8;
constexpr unsigned kFirstRecord = kTables * kPairSize;

// The first record marks the file as ours, so that a reader can tell without looking anything up.
// Its key begins with a NUL byte, as no item's key does; its value is the version of the format and
// the size of the whole file.
constexpr char kFormatKey[] = {'\0', 'Z', 'n', 'P', 'o', 'l', 'i', 'c', 'y'};
constexpr unsigned kFormatVersion = 1;
using FormatValue = std::array<unsigned char, 8>;
using FormatRecord = std::array<unsigned char, kPairSize + sizeof kFormatKey + sizeof(FormatValue)>;

constexpr unsigned kFirstItem = kFirstRecord + sizeof(FormatRecord);

// Up to this size a file is read whole; of a larger one, the part before the items.
constexpr std::size_t kWholeSize = 64u << 10;

FormatValue MakeFormatValue(std::size_t fileSize) {
    FormatValue value;
    cdb_pack(kFormatVersion, value.data());
    cdb_pack(static_cast<unsigned>(fileSize), value.data() + 4);
    return value;
}

FormatRecord MakeFormatRecord(std::size_t fileSize) {
    const FormatValue value = MakeFormatValue(fileSize);
    FormatRecord record;
    cdb_pack(sizeof kFormatKey, record.data());
    cdb_pack(sizeof value, record.data() + 4);
    std::memcpy(record.data() + kPairSize, kFormatKey, sizeof kFormatKey);
    std::memcpy(record.data() + kPairSize + sizeof kFormatKey, value.data(), sizeof value);
    return record;
}

struct Pair {
    unsigned first;
    unsigned second;
};

Pair UnpackPair(const unsigned char* bytes) {
    return {cdb_unpack(bytes), cdb_unpack(bytes + 4)};
}

unsigned Length(std::string_view text) {
    return static_cast<unsigned>(text.size());
}

// The size that the file of `items` will have; every record has two slots in the hash tables.
std::uint64_t FileSize(const std::vector<PolicyStore::Item>& items) {
    std::uint64_t size = kFirstItem + 2 * kPairSize;
    for (const PolicyStore::Item& item : items) {
        size += kPairSize + item.key.size() + item.value.size() + 2 * kPairSize;
    }
    return size;
}

bool AddRecords(struct cdb_make& maker, const FormatValue& format,
                const std::vector<PolicyStore::Item>& items) {
    if (cdb_make_add(&maker, kFormatKey, sizeof kFormatKey, format.data(), sizeof format) != 0) {
        return false;
    }
    return std::all_of(items.begin(), items.end(), [&maker](const PolicyStore::Item& item) {
        return cdb_make_add(&maker, item.key.data(), Length(item.key), item.value.data(),
                            Length(item.value)) == 0;
    });
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
    if (file_ >= 0) {
        close(file_);
    }
}

bool PolicyDatabase::Open(const char* path) {
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    file_ = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    return file_ >= 0 && Load();
}

// Reads the beginning of the file and checks that all of it is there.
bool PolicyDatabase::Load() {
    struct stat status;
    if (fstat(file_, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || status.st_size < kFirstItem || status.st_size > UINT32_MAX) {
        errno = EINVAL;
        return false;
    }
    fileSize_ = static_cast<std::size_t>(status.st_size);
    const bool whole = fileSize_ <= kWholeSize;
    headSize_ = whole ? fileSize_ : kFirstItem;
    head_.reset(new (std::nothrow) unsigned char[headSize_]);
    if (!head_ || !Read(0, headSize_, head_.get())) {
        return false;
    }
    if (whole) {
        close(file_);
        file_ = -1;
    }
    const FormatRecord expected = MakeFormatRecord(fileSize_);
    if (!std::equal(expected.begin(), expected.end(), head_.get() + kFirstRecord)) {
        errno = EINVAL;
        return false;
    }
    return true;
}

bool PolicyDatabase::Find(std::string_view key, std::string& value) {
    std::uint64_t position = 0;
    unsigned length = 0;
    return FindRecord(key, position, length) && ReadText(position, length, value);
}

bool PolicyDatabase::FindRecord(std::string_view key, std::uint64_t& valuePosition,
                                unsigned& valueLength) {
    if (key.size() > PolicyStore::kMaxKeyLength) {
        return false;
    }
    const unsigned hash = cdb_hash(key.data(), Length(key));
    const auto [table, slots] = UnpackPair(head_.get() + hash % kTables * kPairSize);
    for (unsigned probe = 0; probe < slots; ++probe) {
        const std::uint64_t index = (hash / kTables + std::uint64_t{probe}) % slots;
        const unsigned char* slot = Bytes(slots_, table + index * kPairSize, kPairSize);
        if (slot == nullptr) {
            return false;
        }
        const auto [slotHash, record] = UnpackPair(slot);
        if (record == 0) {
            return false;
        }
        if (slotHash != hash) {
            continue;
        }
        const unsigned char* bytes = Bytes(records_, record, kPairSize + key.size());
        if (bytes == nullptr) {
            return false;
        }
        const auto [keyLength, length] = UnpackPair(bytes);
        if (keyLength == key.size() && std::memcmp(bytes + kPairSize, key.data(), keyLength) == 0) {
            valuePosition = std::uint64_t{record} + kPairSize + keyLength;
            valueLength = length;
            return true;
        }
    }
    return false;
}

bool PolicyDatabase::ReadItems(std::vector<PolicyStore::Item>& items) {
    const unsigned end = cdb_unpack(head_.get());  // the first hash table follows the last record
    std::uint64_t position = kFirstItem;
    while (position < end) {
        const unsigned char* lengths = Bytes(records_, position, kPairSize);
        if (lengths == nullptr) {
            return false;
        }
        const auto [keyLength, valueLength] = UnpackPair(lengths);
        position += kPairSize;
        PolicyStore::Item item;
        if (!ReadText(position, keyLength, item.key) ||
            !ReadText(position + keyLength, valueLength, item.value)) {
            return false;
        }
        position += std::uint64_t{keyLength} + valueLength;
        items.push_back(std::move(item));
    }
    return position == end;
}

// Reads a stretch of the file. Returns false, with `text` as it was, when the file does not have
// it.
bool PolicyDatabase::ReadText(std::uint64_t position, unsigned length, std::string& text) {
    if (length <= records_.bytes.size() || position + length <= headSize_) {
        const unsigned char* bytes = Bytes(records_, position, length);
        if (bytes != nullptr) {
            text.assign(reinterpret_cast<const char*>(bytes), length);
        }
        return bytes != nullptr;
    }
    if (position + length > fileSize_) {
        return false;
    }
    std::string longText(length, '\0');
    if (!Read(position, length, longText.data())) {
        return false;
    }
    text = std::move(longText);
    return true;
}

// A stretch of the file that lies in the head or is no longer than the window, which is moved there
// when need be; valid until the window moves. Null when the file does not have it.
const unsigned char* PolicyDatabase::Bytes(Window& window, std::uint64_t position,
                                           std::size_t length) {
    if (position + length <= headSize_) {
        return head_.get() + position;
    }
    if (position + length > fileSize_) {
        return nullptr;
    }
    if (position < window.position || position + length > window.position + window.size) {
        window.position = position;
        window.size = std::min<std::uint64_t>(window.bytes.size(), fileSize_ - position);
        if (!Read(position, window.size, window.bytes.data())) {
            window.size = 0;
            return nullptr;
        }
    }
    return window.bytes.data() + (position - window.position);
}

// Reads all of `length` bytes from the file.
bool PolicyDatabase::Read(std::uint64_t position, std::size_t length, void* target) const {
    const ssize_t count = pread(file_, target, length, static_cast<off_t>(position));
    if (count < 0) {
        return false;
    }
    if (static_cast<std::size_t>(count) != length) {
        errno = EINVAL;
        return false;
    }
    return true;
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
    const bool added = AddRecords(maker, MakeFormatValue(fileSize), items);
    const int reason = errno;
    const bool finished = cdb_make_finish(&maker) == 0;  // also frees what the maker holds
    if (!added) {
        errno = reason;
    }
    return added && finished;
}
