// The policy file format: a constant database (cdb) whose first record identifies the format. See
// docs/policy-store.md for the layout.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
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

// The size of a policy file in bytes: table of contents and format record, and for every record two
// lengths and two slots of 8 bytes in the hash tables.
inline constexpr std::size_t kEmptyPolicyFileSize = 2048 + (8 + 9 + 8) + 2 * 8;
inline constexpr std::size_t PolicyFileSizeOfItem(std::size_t keyLength, std::size_t valueLength) {
    return 8 + keyLength + valueLength + 2 * 8;
}

// A policy file opened for reading. Small files (up to 64 KiB, which nearly all are) are read into
// memory at once; of a larger file only what is asked for is read. The file is never mapped, so a
// disk error or a truncation in place is a failed read and never a signal. Not safe for concurrent
// use.
class PolicyFile {
   public:
    // Opens the file `path`. Returns nothing, with errno set, on failure: EFBIG when the file is
    // larger than kMaxPolicyFileSize, EINVAL when it is truncated, not a policy file or of another
    // format version, else the reason why it cannot be read. Never blocks on a FIFO or a device.
    static std::optional<PolicyFile> Open(const char* path);

    // Reads the value of `key`. Returns false, leaving `value` unchanged, when there is no such
    // item or the file is damaged or cannot be read.
    bool Find(std::string_view key, std::string& value) const;

    // Returns all items in the order they were written, or nothing when the file is damaged or
    // cannot be read.
    std::optional<std::vector<PolicyStore::Item>> Items() const;

   private:
    std::string contents_;  // of a small file
    FileDescriptor file_;   // of a large file
    std::size_t size_ = 0;
};

// Writes the policy file of `items` to `file`, an empty file opened for reading and writing.
// Returns false, with errno set, on failure: EFBIG when it would exceed kMaxPolicyFileSize.
bool WritePolicyFile(const FileDescriptor& file, const std::vector<PolicyStore::Item>& items);
