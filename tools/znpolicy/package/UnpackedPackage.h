// A package's directory as it will be after its zip is unpacked, without unpacking it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Manifest.h"
#include "ZipArchive.h"

// What unpacking one zip creates or overwrites.
struct PlannedUnpacking {
    struct Entry {
        std::string path;    // relative to `directory`
        uint64_t size;       // unpacked
        std::string digest;  // SHA-256; "" for a directory or link
    };

    std::string zip;
    std::string directory;
    std::vector<Entry> entries;
    std::vector<std::string> problems;  // everything that unzip would fail at
};

// Unpacking overwrites what the zip contains and keeps everything else in the directory; this is
// the union of the two. Everything throws PackageError when the zip cannot be read.
class UnpackedPackage {
   public:
    // The package of the zip `zipPath`, whose contents are in the file `contents`.
    UnpackedPackage(const std::string& zipPath, const std::string& contents);
    explicit UnpackedPackage(const std::string& zipPath) : UnpackedPackage(zipPath, zipPath) {}

    // A package that has been unpacked into `directory`.
    static UnpackedPackage InDirectory(const std::string& directory);

    // The directory that the zip is unpacked into.
    const std::string& UnpackedPath() const {
        return unpackedPath_;
    }

    // The directory that the installer reads; another one only for zips with odd names.
    const std::string& InstallPath() const {
        return installPath_;
    }

    // Reads the manifest, which messages call `name`. See ReadManifest in Manifest.h.
    Manifest ReadManifest(const std::string& name) const;

    // What the installer finds under `name`, relative to its directory; nothing when that is not a
    // regular file. Follows links.
    std::optional<FileFacts> Look(const std::string& name) const;

    // Writes the zip's own file `name`, relative to the unpacked directory, to the file `path`.
    // Returns false when the zip does not have it.
    bool Extract(const std::string& name, const std::string& path) const;

    // What unzip does with the zip `zipPath`. Reads every entry to its end.
    PlannedUnpacking PlanUnpacking(const std::string& zipPath) const;

    // After unpacking: the path of the first file or directory that is not as in the zip, or "".
    std::string FirstNotUnpacked() const;

   private:
    // Where a file is read from: an entry of the zip, or else the disk.
    struct Source {
        const ZipEntry* entry;
        std::string path;
    };

    UnpackedPackage() = default;

    // Whether a later entry of the zip has the same path.
    bool IsOverwritten(const ZipEntry& entry) const;

    // Whether the entry has been unpacked to `path`.
    bool IsUnpacked(const ZipEntry& entry, const std::string& path) const;

    // Inflates an entry, once in the life of the object.
    const FileFacts& FactsOf(const ZipEntry& entry) const;

    std::optional<Source> Find(const std::string& name, int linksToFollow = 8) const;

    std::optional<ZipArchive> archive_;
    mutable std::unordered_map<const ZipEntry*, FileFacts> facts_;
    std::string unpackedPath_;
    std::string installPath_;
};
