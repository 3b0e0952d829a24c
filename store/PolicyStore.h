// Publishing policies for ZnXml (libZnPolicyStore). docs/policy-store.md describes documents, files
// and guarantees.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ZnExport.h"

// A store directory. An object holds only the directory's path; any number of objects, threads and
// processes may use a store at the same time. Logs nothing. Every failure throws Error, lack of
// memory std::bad_alloc.
class ZN_API PolicyStore {
   public:
    // One item of a policy.
    struct Item {
        std::string key;    // names joined with "/", without that of the root element
        std::string value;  // UTF-8
    };

    // Why an operation failed: one sentence that names the file. For a refused document it begins
    // with "NAME:LINE:COLUMN: "; line and column count from 1, columns in characters.
    class ZN_API Error : public std::runtime_error {
       public:
        using std::runtime_error::runtime_error;

        // Releases the message.
        ~Error() override;
    };

    // The longest key of an item, in bytes.
    static constexpr std::size_t kMaxKeyLength = 255;

    // The largest document, in bytes. The policy file compiled from it is limited to 64 MiB.
    static constexpr std::size_t kMaxDocumentSize = 16U << 20;

    // Returns the directory that ZnXml reads in this process: that of the environment variable
    // ZN_POLICY_STORE, or /usr/local/PermanenceDataPath/PolicyStore when the variable is unset or
    // empty or the process has raised privileges.
    static std::string DefaultDirectory();

    // A store in `directory`, which need not exist yet. Touches no file.
    explicit PolicyStore(std::string directory = DefaultDirectory());

    // Parses the policy document `xml` and returns its items in document order. `name` stands for
    // the document in messages. Throws Error when the document is refused.
    static std::vector<Item> ParseDocument(std::string_view xml, const std::string& name);

    // Publishes the document `xml`, called `name` in messages, as the policy of `id` (any int),
    // replacing the policy published before, and returns its number of items. Creates the directory
    // when it is missing. On return the policy is on stable storage. Throws Error when the document
    // is refused or cannot be stored; the old policy then stays in place. The one exception is a
    // failure of the last step, syncing the directory: readers already see the new policy.
    std::size_t Publish(int id, std::string_view xml, const std::string& name) const;

    // Whether the policy file of `id` is intact, of the current format version, and has exactly
    // these items: publishing them would not change it.
    bool Holds(int id, const std::vector<Item>& items) const;

    // Changes that share the sync to stable storage.
    class ZN_API Batch {
       public:
        // A change that was not made.
        struct Failure {
            int id;              // of the policy
            std::string reason;  // one sentence that names the file
        };

        // `store` must outlive this object.
        explicit Batch(const PolicyStore& store);
        ~Batch();  // drops what was not committed
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

        // Adds the policy of `id`: writes `items` to a temporary file that stays open until the end
        // of the batch. Thread-safe. Throws Error when it cannot be written.
        void Publish(int id, const std::vector<Item>& items);

        // Adds the removal of the policy of `id`. Not thread-safe.
        void Remove(int id);

        // Makes all changes visible to readers, one after the other, and clears the batch. On
        // return they are on stable storage. Returns those that failed. Throws Error when syncing
        // fails: no change was made then, except if it was the directory that could not be synced.
        std::vector<Failure> Commit();

       private:
        struct Impl;
        std::unique_ptr<Impl> impl_;
    };

    // Returns the ids that have a policy file, ascending; none when the directory does not exist.
    // Throws Error when the directory cannot be read.
    std::vector<int> List() const;

    // Returns the items of the policy of `id` in the order they were published. Throws Error when
    // there is no such policy or its file is damaged or cannot be read.
    std::vector<Item> Read(int id) const;

    // What Verify() finds.
    struct Verification {
        bool hasChecksums = false;        // false for files of format version 1
        std::vector<std::string> damage;  // a phrase for each part that is damaged
    };

    // Checks the whole policy file of `id`; without checksums, only whether its parts fit together
    // and all its items can be found. Throws Error when there is no such policy or it cannot be
    // read.
    Verification Verify(int id) const;

    // Removes the policy of `id`. Accessors that have loaded it keep it. Throws Error when there is
    // no such policy or it cannot be removed.
    void Remove(int id) const;

    // Returns the directory that the object was made for; the reference is valid as long as the
    // object.
    const std::string& Directory() const {
        return directory_;
    }

    // Returns the path of the policy file of `id`, which need not exist.
    std::string PolicyPath(int id) const;

   private:
    [[noreturn]] void FailToRead(int id) const;

    std::string directory_;
};
