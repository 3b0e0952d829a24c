#include "IniCache.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "IniFile.h"

namespace {

// A file as it was when it was last read.
struct Known {
    FileStamp stamp;
    bool settled = false;
    std::shared_ptr<const IniDocument> document;
};

class IniCache {
   public:
    // What is known of the file with this stamp, or of an earlier state of the same file.
    std::optional<Known> Find(const FileStamp& stamp) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!MoveToFront(stamp)) {
            return std::nullopt;
        }
        return known_.front();
    }

    // Remembers a file in place of what was known of it, and forgets the one not used for longest.
    void Keep(Known known) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (MoveToFront(known.stamp)) {
            known_.front() = std::move(known);
            return;
        }
        if (known_.size() == kMaxFiles) {
            known_.pop_back();
        }
        known_.insert(known_.begin(), std::move(known));
    }

   private:
    static constexpr size_t kMaxFiles = 8;

    // False when nothing is known of the file.
    bool MoveToFront(const FileStamp& stamp) {
        const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& known) {
            return known.stamp.IsOfSameFile(stamp);
        });
        if (found == known_.end()) {
            return false;
        }
        std::rotate(known_.begin(), found, found + 1);
        return true;
    }

    std::mutex mutex_;
    std::vector<Known> known_;  // the one used last comes first
};

// Never destroyed: other libraries may still read settings while the process ends.
IniCache& Cache() {
    static auto* const cache = new IniCache;
    return *cache;
}

}  // namespace

std::shared_ptr<const IniDocument> OpenIni(const char* path) {
    const std::optional<FileStamp> stamp = StampOf(path);
    if (!stamp) {
        return nullptr;
    }
    std::optional<Known> known = Cache().Find(*stamp);
    if (known && known->settled && known->stamp == *stamp) {
        return known->document;
    }
    std::optional<FileContents> contents = ReadContents(path);
    if (!contents) {
        return nullptr;
    }
    const bool same = known && known->document->Text() == contents->text;
    auto document = same ? known->document : IniDocument::Parse(std::move(contents->text));
    if (document) {
        Cache().Keep({contents->stamp, contents->settled, document});
    }
    return document;
}
