#include "Manifest.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ManifestFormat.h"
#include "PackageError.h"
#include "ScratchDirectory.h"
#include "ZnIni.h"

namespace {

// The longest value that the installer reads; it cuts longer ones.
constexpr size_t kValueMax = kManifestValueCapacity - 1;

// The INI reader accepts no larger file.
constexpr uint64_t kLargestManifest = uint64_t{16} << 20U;

class ManifestReader {
   public:
    ManifestReader(std::string path, std::string name)
        : path_(std::move(path)), name_(std::move(name)) {}

    Manifest Read() {
        manifest_.platform = Value(kPlatformSection, kPlatformKey);
        const std::set<std::string> keys = Keys(manifest_.platform);
        try {
            for (const std::string& key : keys) {
                manifest_.paths.push_back(ReadPath(key));
            }
        } catch (const PackageError& error) {
            manifest_.failure = error.what();
        }
        return manifest_;
    }

   private:
    std::string Where(const std::string& section, const std::string& key) const {
        return name_ + " [" + section + "] " + key;
    }

    std::set<std::string> Keys(const std::string& section) const {
        std::set<std::string> keys;
        if (IniGetStringItems(section.c_str(), keys, path_.c_str()) != 0) {
            throw PackageError(name_ + ": section [" + section + "] is missing");
        }
        return keys;
    }

    ManifestPath ReadPath(const std::string& key) {
        ManifestPath path;
        path.key = key;
        path.destination = Value(manifest_.platform, key);
        for (const std::string& fileKey : Keys(key)) {
            AddFiles(Where(key, fileKey), Value(key, fileKey), path.files);
        }
        return path;
    }

    std::string Value(const std::string& section, const std::string& key) {
        std::array<char, 65536> buffer;
        if (IniGetString(section.c_str(), key.c_str(), "", buffer.data(),
                         static_cast<int>(buffer.size()), path_.c_str()) != 0) {
            throw PackageError(Where(section, key) + " is missing");
        }
        std::string value = buffer.data();
        if (value.size() > kValueMax) {
            manifest_.oddities.push_back(Where(section, key) + " has more than " +
                                         std::to_string(kValueMax) + " bytes and is cut there");
            value.resize(kValueMax);
        }
        return value;
    }

    // Adds the elements of a list; the first empty one ends it.
    void AddFiles(const std::string& where, const std::string& list, std::set<std::string>& files) {
        size_t start = 0;
        while (start < list.size()) {
            const size_t comma = std::min(list.find(',', start), list.size());
            if (comma == start) {
                manifest_.oddities.push_back(where + ": an empty element ends the list; \"" +
                                             list.substr(start) + "\" is skipped");
                return;
            }
            files.insert(list.substr(start, comma - start));
            start = comma + 1;
        }
    }

    std::string path_;
    std::string name_;
    Manifest manifest_;
};

}  // namespace

Manifest ReadManifest(const std::string& path, const std::string& name) {
    return ManifestReader(path, name).Read();
}

Manifest ReadManifest(const ZipArchive& archive, const ZipEntry& entry, const std::string& name) {
    if (entry.size > kLargestManifest) {
        throw PackageError(name + ": larger than the limit of 16 MiB");
    }
    const ScratchDirectory scratch;  // the INI reader reads files only
    const std::string file = scratch.Path() + "/" + kManifestName;
    archive.Extract(entry, file);
    return ReadManifest(file, name);
}
