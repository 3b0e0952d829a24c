// The policy file format: a constant database (cdb) whose first record identifies the format. See
// docs/policy-store.md for the layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FileDescriptor.h"
#include "PolicyStore.h"

// Returns the store directory of this process, see PolicyStore::DefaultDirectory(). Valid until the
// environment changes. Thread-safe unless another thread changes the environment.
const char* PolicyStoreDirectory();

// A policy file is named after its id in decimal, with this suffix.
inline constexpr std::string_view kPolicyFileSuffix = ".cdb";

// The size limit of a policy file, in bytes, for writing and reading.
inline constexpr std::size_t kMaxPolicyFileSize = std::size_t{64} << 20;

// The size of a policy file in bytes: table of contents and format record, for every record two
// lengths and two slots of 8 bytes in the hash tables, and for every item a checksum.
inline constexpr std::size_t kEmptyPolicyFileSize = 2048 + (8 + 9 + 32) + 2 * 8;
inline constexpr std::size_t PolicyFileSizeOfItem(std::size_t keyLength, std::size_t valueLength) {
    return (8 + 8 + 2 * 8) + keyLength + valueLength;
}

// A policy file opened for reading. A small file, as nearly all are, is read into memory and
// verified at once; of a larger one only what is asked for is read and verified. The file is never
// mapped, so a disk error or a truncation in place is a failed read and never a signal. Not safe
// for concurrent use.
class PolicyFile {
   public:
    // The default limit of a small file, in bytes.
    static constexpr std::size_t kSmallFile = std::size_t{64} << 10;

    // Opens the file `path`; a size of at most `smallFile` bytes makes it a small one. Returns
    // nothing, with errno set, on failure: EFBIG when the file is larger than kMaxPolicyFileSize,
    // EINVAL when it is damaged, not a policy file or of an unknown format version, else the reason
    // why it cannot be read. Never blocks on a FIFO or a device.
    static std::optional<PolicyFile> Open(const char* path, std::size_t smallFile = kSmallFile);

    // Checks the whole file `path`. Returns nothing, with errno set, when it cannot be read.
    static std::optional<PolicyStore::Verification> Verify(const char* path);

    // Whether the file is of the format version that WritePolicyFile() writes.
    bool HasCurrentFormat() const {
        return hasChecksums_;
    }

    // Reads the value of `key`. Returns false, leaving `value` unchanged, when there is no such
    // item or the file is damaged or cannot be read.
    bool Find(std::string_view key, std::string& value) const;

    // Returns all items in the order they were written, or nothing when the file is damaged or
    // cannot be read.
    std::optional<std::vector<PolicyStore::Item>> Items() const;

   private:
    // Two adjacent numbers.
    struct Pair {
        std::uint32_t first;
        std::uint32_t second;
    };

    // A part of the file, which need not lie within a damaged one.
    struct Range {
        std::uint64_t position;
        std::uint32_t size;
    };

    struct Record {
        PolicyStore::Item item;
        bool isIntact;
        std::uint64_t end;
    };

    PolicyFile(FileDescriptor file, std::size_t size) : file_(std::move(file)), size_(size) {}

    static std::optional<PolicyFile> Load(const char* path, std::size_t smallFile);
    bool ReadStart(std::size_t size);

    bool HasFormat();
    bool IsHeaderIntact() const;
    bool IsIndexIntact() const;
    bool IsBodyIntact() const;
    std::vector<std::string> DamagedItems() const;

    std::optional<Range> FindValue(std::string_view key) const;
    bool TakeValue(std::string_view key, std::string& record) const;

    // These fail when the file does not reach that far.
    std::optional<Record> ReadRecord(std::uint64_t position) const;
    bool Read(std::uint64_t position, char* buffer, std::size_t size) const;
    std::optional<Pair> ReadPair(std::uint64_t position) const;
    std::optional<std::string> ReadText(const Range& range) const;

    FileDescriptor file_;  // closed when start_ is the whole file
    std::size_t size_;
    std::string start_;          // all of a small file; of a large one what precedes the items
    std::size_t firstItem_ = 0;  // position of the items
    bool hasChecksums_ = false;  // not in format version 1
    bool isBodyVerified_ = false;
};

// Writes the policy file of `items` to `file`, an empty file opened for reading and writing. Equal
// items make equal files. Returns false, with errno set, on failure: EFBIG when it would exceed
// kMaxPolicyFileSize.
bool WritePolicyFile(const FileDescriptor& file, const std::vector<PolicyStore::Item>& items);
