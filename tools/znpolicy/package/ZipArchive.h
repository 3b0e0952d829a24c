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
    std::string name;  // as in the archive
    std::string path;  // where unzip creates it: without "/" at its ends, "." and ".."
    uint64_t size;     // unpacked size as the archive declares it, in bytes
    bool isDirectory;
    bool isLink;          // unpacked as a symbolic link
    std::string problem;  // why unzip cannot unpack it, else ""
};

// What an installation compares.
struct FileFacts {
    uint64_t size = 0;
    std::string digest;  // SHA-256
};

// A zip opened for reading. Everything throws PackageError, naming the file, when the zip is
// damaged or cannot be read. An entry that inflates to more than its declared size is damaged: no
// more than that is ever delivered.
class ZipArchive {
   public:
    explicit ZipArchive(const std::string& path);

    // In the order of the archive.
    const std::vector<ZipEntry>& Entries() const {
        return entries_;
    }

    // The entry that is at `path` once the zip is unpacked, or null when there is none. Of several
    // it is the last one, as unzip leaves it.
    const ZipEntry* Find(const std::string& path) const;

    // Passes the contents of an entry to `take`, piece by piece.
    void Read(const ZipEntry& entry,
              const std::function<void(const char* data, size_t size)>& take) const;

    // Inflates an entry without writing it anywhere.
    FileFacts Look(const ZipEntry& entry) const;

    // Writes the contents of an entry to the file `path`. Throws std::runtime_error when that
    // cannot be written.
    void Extract(const ZipEntry& entry, const std::string& path) const;

    // The target of a link; "" for one that is longer than any path.
    std::string LinkTarget(const ZipEntry& entry) const;

   private:
    std::string path_;
    std::unique_ptr<zip, void (*)(zip*)> zip_;
    std::vector<ZipEntry> entries_;
    std::unordered_map<std::string, size_t> byPath_;
};

// Writes the zip `path` from files: the name in the archive and the file with the contents. The zip
// appears complete or not at all; throws std::runtime_error when it cannot be written.
void WriteZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& files);
