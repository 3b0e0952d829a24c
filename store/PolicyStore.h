// The policy store behind ZnXml, from the side that publishes: documents in, policies out. The
// document format, the files and what the store promises are described in docs/policy-store.md.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ZnExport.h"

// One store directory. An object keeps nothing but the directory's name, so any number of them, in
// any number of threads and processes, may work on one store at a time.
class ZN_API PolicyStore {
   public:
    struct Item {
        std::string key;
        std::string value;
    };

    // Why an operation failed, in one sentence that names the file. For a refused document it
    // begins with "name:line:column: ".
    class ZN_API Error : public std::runtime_error {
       public:
        using std::runtime_error::runtime_error;
        ~Error() override;
    };

    // The longest key, in bytes.
    static constexpr std::size_t kMaxKeyLength = 255;

    // The largest document, in bytes.
    static constexpr std::size_t kMaxDocumentSize = 16U << 20;

    // The store that ZnXml reads in this process: $ZN_POLICY_STORE, or the product's store when the
    // variable is unset, empty, or not to be trusted because the process has raised privileges.
    static std::string DefaultDirectory();

    // A store in `directory`, which need not exist yet.
    explicit PolicyStore(std::string directory = DefaultDirectory());

    // The items of a policy document in the order of the document. `name` stands for the document
    // in messages. Throws Error when the document is refused.
    static std::vector<Item> ParseDocument(std::string_view xml, const std::string& name);

    // Publishes the document `xml` as the policy of `id`, replacing what was published before, and
    // returns its number of items. When it returns, the policy is on disk. Throws Error when the
    // document is refused or cannot be stored; what was published before then stays. (When only
    // the last step fails, recording the new name on disk, readers see the new policy already.)
    std::size_t Publish(int id, std::string_view xml, const std::string& name) const;

    // The ids that have a policy file, ascending; none when the directory does not exist. Throws
    // Error when the directory cannot be read.
    std::vector<int> List() const;

    // The items of the policy of `id` in the order they were published. Throws Error when there is
    // no such policy or it cannot be used.
    std::vector<Item> Read(int id) const;

    // Removes the policy of `id`. Accessors that have loaded it keep it until they are destroyed.
    // Throws Error when there is no such policy or it cannot be removed.
    void Remove(int id) const;

    const std::string& Directory() const {
        return directory_;
    }

   private:
    std::string PolicyPath(int id) const;

    std::string directory_;
};
