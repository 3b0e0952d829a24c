// The most recently used INI files, so that a file is not read and parsed for every key.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "IniDocument.h"
#include "IniFile.h"

// How the cache accesses files; tests substitute their own functions.
struct IniFileAccess {
    std::function<std::optional<FileStamp>(const char* path)> stampOf;
    std::function<std::optional<FileContents>(const char* path)> read;
};

// Keeps the document used last, and up to seven more as long as all take up to 64 MiB of memory,
// estimated by IniDocument::MemorySize(). Safe from any thread.
class IniCache {
   public:
    explicit IniCache(IniFileAccess access) : access_(std::move(access)) {}

    // Returns the document in the file `path`, as it is now; null when it cannot be read. Reads the
    // file only when it may have changed since the last call, and parses it only when it has.
    std::shared_ptr<const IniDocument> Open(const char* path);

    // For fork handlers: while locked, no other thread is inside the cache.
    void Lock() {
        mutex_.lock();
    }
    void Unlock() {
        mutex_.unlock();
    }

   private:
    struct CacheEntry {
        FileStamp stamp;
        bool isStable = false;  // see FileContents
        std::shared_ptr<const IniDocument> document;
    };

    // Returns the entry of the file with this stamp, even if the file has changed since.
    std::optional<CacheEntry> Find(const FileStamp& stamp);

    // Replaces the file's entry, and drops the least recently used ones beyond the limits.
    void Keep(CacheEntry entry);

    const IniFileAccess access_;
    std::mutex mutex_;
    std::vector<CacheEntry> entries_;  // the most recently used one first
};
