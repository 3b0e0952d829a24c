// The file of one policy: a constant database with a record of our own in front. Its layout is
// described in docs/policy-store.md.
#pragma once

#include <cdb.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "PolicyStore.h"

// The store of this process, see PolicyStore::DefaultDirectory. Valid until the environment
// changes.
const char* PolicyStoreDirectory();

// What follows the id in the name of a policy's file.
constexpr std::string_view kPolicyFileSuffix = ".cdb";

// A policy file mapped into memory for reading. The format is tinycdb's business, on reading as on
// writing: its reader is kept even where one of our own would save a page fault.
class PolicyDatabase {
   public:
    PolicyDatabase() = default;
    ~PolicyDatabase();

    PolicyDatabase(const PolicyDatabase&) = delete;
    PolicyDatabase& operator=(const PolicyDatabase&) = delete;

    // Maps the file, once in the life of the object. Returns false, with errno set, when it cannot
    // be opened or is not a whole policy file (EINVAL). Never waits, whatever kind of file it is.
    bool Open(const char* path);

    // The value of `key`, valid as long as this object; nothing when there is no such item or the
    // file is damaged.
    std::optional<std::string_view> Find(std::string_view key);

    // All items in the order they were written; nothing when the file is damaged.
    std::optional<std::vector<PolicyStore::Item>> Items();

   private:
    // A stretch of the file; nothing when it does not lie within the file.
    std::optional<std::string_view> Text(unsigned length, unsigned position) const;

    struct cdb cdb_ = CDB_STATIC_INIT;
};

// Writes the policy file of `items` to `file`, an empty file open for writing. Returns false, with
// errno set, when it cannot be written.
bool WritePolicyDatabase(int file, const std::vector<PolicyStore::Item>& items);
