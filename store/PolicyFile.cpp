#include "PolicyFile.h"

#include <cdb.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "Environment.h"

namespace {

// A file of up to this size is read whole when it is opened.
constexpr std::size_t kSmallFile = std::size_t{64} << 10;

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

// Returns tinycdb's handle of a file in memory. Its own cdb_init() would map the file.
struct cdb InMemory(std::string_view contents) {
    struct cdb database = CDB_STATIC_INIT;
    database.cdb_fd = -1;
    database.cdb_mem = reinterpret_cast<const unsigned char*>(contents.data());
    database.cdb_fsize = Length(contents);
    database.cdb_dend =
        std::clamp(cdb_unpack(database.cdb_mem), kTableOfContentsSize, database.cdb_fsize);
    return database;
}

// Returns a range of the file, or nothing when it does not lie within the file.
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
    return start.size() >= kFirstItemPosition &&
           start.substr(kTableOfContentsSize, kFormatRecordStart.size()) == kFormatRecordStart &&
           cdb_unpack(reinterpret_cast<const unsigned char*>(&start[kFileSizePosition])) ==
               fileSize;
}

// Looks `key` up with a few small reads. A damaged file may claim any length for the value.
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
