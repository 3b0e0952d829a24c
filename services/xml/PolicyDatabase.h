// The file of one policy: a constant database with a record of our own in front. Its layout is
// described in docs/policy-store.md.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "PolicyStore.h"

// The store of this process, see PolicyStore::DefaultDirectory. Valid until the environment
// changes.
const char* PolicyStoreDirectory();

// What follows the id in the name of a policy's file.
constexpr std::string_view kPolicyFileSuffix = ".cdb";

// A policy file open for reading. A policy of ordinary size is read at once, with one call of the
// system; of a larger one, what is asked for. Nothing is mapped: for a file of this size the page
// faults would cost more than the reading, and a file that someone cuts short would be fatal.
class PolicyDatabase {
   public:
    PolicyDatabase() = default;
    ~PolicyDatabase();

    PolicyDatabase(const PolicyDatabase&) = delete;
    PolicyDatabase& operator=(const PolicyDatabase&) = delete;

    // Opens the file, once in the life of the object. Returns false, with errno set, when it cannot
    // be read or is not a whole policy file (EINVAL). Never waits, whatever kind of file it is.
    bool Open(const char* path);

    // Reads the value of `key`. Returns false, with `value` as it was, when there is no such item
    // or the file is damaged.
    bool Find(std::string_view key, std::string& value);

    // Appends all items in the order they were written. Returns false when the file is damaged.
    bool ReadItems(std::vector<PolicyStore::Item>& items);

   private:
    // A stretch of a file that is too large to be read whole, as it was read last.
    struct Window {
        std::uint64_t position = 0;
        std::size_t size = 0;
        std::array<unsigned char, 1024> bytes;
    };

    bool Load();
    bool FindRecord(std::string_view key, std::uint64_t& valuePosition, unsigned& valueLength);
    bool ReadText(std::uint64_t position, unsigned length, std::string& text);
    const unsigned char* Bytes(Window& window, std::uint64_t position, std::size_t length);
    bool Read(std::uint64_t position, std::size_t length, void* target) const;

    int file_ = -1;  // closed when all of the file is in head_
    std::size_t fileSize_ = 0;
    std::unique_ptr<unsigned char[]> head_;  // the beginning of the file
    std::size_t headSize_ = 0;
    Window slots_;
    Window records_;
};

// Writes the policy file of `items` to `file`, an empty file open for writing. Returns false, with
// errno set, when it cannot be written.
bool WritePolicyDatabase(int file, const std::vector<PolicyStore::Item>& items);
