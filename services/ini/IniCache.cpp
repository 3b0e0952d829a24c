#include "IniCache.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kMaxDocuments = 8;
constexpr size_t kMaxMemorySize = size_t{64} << 20;

}  // namespace

std::shared_ptr<const IniDocument> IniCache::Open(const char* path) {
    const std::optional<FileStamp> stamp = access_.stampOf(path);
    if (!stamp) {
        return nullptr;
    }
    const std::optional<CacheEntry> cached = Find(*stamp);
    if (cached && cached->isStable && cached->stamp == *stamp) {
        return cached->document;
    }
    std::optional<FileContents> contents = access_.read(path);
    if (!contents) {
        return nullptr;
    }
    const bool isSame = cached && cached->document->Text() == contents->text;
    auto document = isSame ? cached->document : IniDocument::Parse(std::move(contents->text));
    if (document) {
        Keep({contents->stamp, contents->isStable, document});
    }
    return document;
}

std::optional<IniCache::CacheEntry> IniCache::Find(const FileStamp& stamp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
        return entry.stamp.IsOfSameFile(stamp);
    });
    if (found == entries_.end()) {
        return std::nullopt;
    }
    std::rotate(entries_.begin(), found, found + 1);
    return entries_.front();
}

void IniCache::Keep(CacheEntry entry) {
    // Documents are freed here only after the lock is released: freeing a large one takes a while.
    std::vector<CacheEntry> dropped;
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<CacheEntry> kept;
    size_t memorySize = entry.document->MemorySize();
    kept.push_back(std::move(entry));
    for (CacheEntry& old : entries_) {
        memorySize += old.document->MemorySize();
        const bool keep = !old.stamp.IsOfSameFile(kept.front().stamp) &&
                          kept.size() < kMaxDocuments && memorySize <= kMaxMemorySize;
        (keep ? kept : dropped).push_back(std::move(old));
    }
    entries_.swap(kept);
}
