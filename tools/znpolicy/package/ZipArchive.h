// Package zips, read and written without unpacking them (libzip).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct zip;

struct ZipEntry {
    std::string name;  // as it stands in the archive
    std::string path;  // where unzip puts it in the folder: without "/" at its ends, "." and ".."
    uint64_t size;     // unpacked, in bytes
    bool isDirectory;
    bool isLink;  // unpacked as a symbolic link
};

// A zip opened for reading. Throws std::runtime_error, naming the file, when it cannot be read.
class ZipArchive {
   public:
    explicit ZipArchive(const std::string& path);

    // In the order of the archive.
    const std::vector<ZipEntry>& Entries() const {
        return entries_;
    }

    // The entry that stands at `path` once the zip is unpacked, the last one if there are several,
    // as unzip leaves it; null when there is none.
    const ZipEntry* Find(const std::string& path) const;

    // Writes the contents of an entry to the file `path`.
    void Extract(const ZipEntry& entry, const std::string& path) const;

    // Whether the file `path` has exactly the contents of an entry.
    bool IsSame(const ZipEntry& entry, const std::string& path) const;

    // What a link points at; "" for a target that is longer than any path.
    std::string LinkTarget(const ZipEntry& entry) const;

   private:
    // Hands the contents of an entry to `take`, piece by piece.
    void Read(const ZipEntry& entry,
              const std::function<void(const char* data, size_t size)>& take) const;

    std::string path_;
    std::unique_ptr<zip, std::function<void(zip*)>> zip_;
    std::vector<ZipEntry> entries_;
    std::unordered_map<std::string, size_t> byPath_;
};

// Writes the zip `path` from files: the name in the archive and the file that holds the contents.
// The zip appears whole or not at all; throws std::runtime_error when it cannot be written.
void WriteZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& files);
