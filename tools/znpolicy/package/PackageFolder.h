// What the folder of a package holds once its zip has been unpacked, without unpacking it there.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "ScratchDirectory.h"
#include "ZipArchive.h"

// Unpacking overwrites what the zip holds and leaves alone what else is in the folder; this is the
// sum of the two. Files of the zip are unpacked one by one, when asked for, into a scratch
// directory.
class PackageFolder {
   public:
    // The package of the zip `zipPath`. Throws std::runtime_error when the zip cannot be read.
    explicit PackageFolder(const std::string& zipPath);

    // The folder the zip is unpacked into.
    const std::string& UnpackedPath() const {
        return unpackedPath_;
    }

    // The folder the installer looks into; another one only for zips with odd names.
    const std::string& InstallPath() const {
        return installPath_;
    }

    const ZipArchive& Archive() const {
        return archive_;
    }

    // A file with the contents that `name`, relative to the installer's folder, will have; nothing
    // when it will not be there or not be a regular file. The file lives as long as this object.
    std::optional<std::string> File(const std::string& name);

   private:
    ZipArchive archive_;
    std::string unpackedPath_;
    std::string installPath_;
    ScratchDirectory scratch_;
    std::map<std::string, std::string> extracted_;
};
