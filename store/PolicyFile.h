// The policy file: a constant database (cdb) with a format record in front. docs/policy-store.md
// describes the layout.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FileDescriptor.h"
#include "PolicyStore.h"

// The policy store of this process, see PolicyStore::DefaultDirectory. Valid until the environment
// changes.
const char* PolicyStoreDirectory();

// The suffix of a policy file's name; the id in decimal precedes it.
inline constexpr std::string_view kPolicyFileSuffix = ".cdb";

// The largest policy file that is written or read, in bytes.
inline constexpr std::size_t kMaxPolicyFileSize = std::size_t{64} << 20;

// The size of a policy file without items, and what an item adds to it, in bytes: a record with two
// lengths, and two slots in the hash tables.
inline constexpr std::size_t kEmptyPolicyFileSize = 2048 + (8 + 9 + 8) + 2 * 8;
inline constexpr std::size_t PolicyFileSizeOfItem(std::size_t keyLength, std::size_t valueLength) {
    return 8 + keyLength + valueLength + 2 * 8;
}

// A policy file opened for reading. Small files, which nearly all are, are read into memory at
// once; of a larger one only what is asked for is read. The file is never mapped, so that neither a
// disk error nor a truncation in place can end the process. An object is for one thread at a time.
class PolicyFile {
   public:
    // Opens the file `path`. Returns nothing, with errno set, when it cannot be read, is larger
    // than kMaxPolicyFileSize (EFBIG) or is not an intact policy file (EINVAL). Never blocks,
    // whatever kind of file it is.
    static std::optional<PolicyFile> Open(const char* path);

    // Reads the value of `key`. Returns false, leaving `value` unchanged, when there is no such
    // item or the file is damaged or cannot be read.
    bool Find(std::string_view key, std::string& value) const;

    // Returns all items in the order they were written; nothing when the file is damaged or cannot
    // be read.
    std::optional<std::vector<PolicyStore::Item>> Items() const;

   private:
    std::string contents_;  // of a small file
    FileDescriptor file_;   // a large file
    std::size_t size_ = 0;
};

// Writes the policy file of `items` to `file`, an empty file opened for reading and writing.
// Returns false, with errno set, on failure: EFBIG when it would exceed kMaxPolicyFileSize.
bool WritePolicyFile(const FileDescriptor& file, const std::vector<PolicyStore::Item>& items);
