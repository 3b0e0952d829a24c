// Package zips, read and written without unpacking them (libzip).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct zip;

struct ZipEntry {
    std::string name;  // as it stands in the archive
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

    // The entry `name`, the last one if the name stands twice, as unzip leaves it; null when there
    // is none.
    const ZipEntry* Find(const std::string& name) const;

    // Writes the contents of the entry `name` to the file `path`.
    void Extract(const std::string& name, const std::string& path) const;

   private:
    std::string path_;
    std::unique_ptr<zip, std::function<void(zip*)>> zip_;
    std::vector<ZipEntry> entries_;
};

// Writes the zip `path` from files: the name in the archive and the file that holds the contents.
// The zip appears whole or not at all; throws std::runtime_error when it cannot be written.
void WriteZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& files);
