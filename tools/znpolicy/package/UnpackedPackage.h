// What the folder of a package holds once its zip has been unpacked, without unpacking it there.
#pragma once

#include <optional>
#include <string>

#include "ScratchDirectory.h"
#include "ZipArchive.h"

// Unpacking overwrites what the zip holds and leaves alone what else is in the folder; this is the
// sum of the two. A file of the zip is unpacked when it is asked for, into a scratch directory.
class UnpackedPackage {
   public:
    struct FileFacts {
        long long size;
        std::string digest;  // SHA-256
    };

    // The package of the zip `zipPath`, whose contents stand in the file `contents`. Throws
    // std::runtime_error when the zip cannot be read.
    UnpackedPackage(const std::string& zipPath, const std::string& contents);
    explicit UnpackedPackage(const std::string& zipPath) : UnpackedPackage(zipPath, zipPath) {}

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
    // when it will not be there or not be a regular file. Links are followed. The file stays as it
    // is until the next call.
    std::optional<std::string> File(const std::string& name);

    // What the installer looks at in that file.
    std::optional<FileFacts> Look(const std::string& name);

    // After unpacking: the path of the first file or directory that is not there as the zip has it;
    // "" when all are.
    std::string FirstNotUnpacked() const;

   private:
    std::optional<std::string> File(const std::string& name, int linksToFollow);

    ZipArchive archive_;
    std::string unpackedPath_;
    std::string installPath_;
    ScratchDirectory scratch_;
};
