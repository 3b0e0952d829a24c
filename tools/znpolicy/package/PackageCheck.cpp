#include "PackageCheck.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "Manifest.h"
#include "ManifestFormat.h"
#include "PackageError.h"
#include "PackageSelection.h"
#include "Paths.h"
#include "ShellPath.h"
#include "ZnPackageInfo.h"

namespace {

// Whether a path has a ".." component.
bool LeadsUp(const std::string& path) {
    const std::filesystem::path components(path);
    return std::find(components.begin(), components.end(), "..") != components.end();
}

class Checker {
   public:
    Checker(std::string path, std::string platform)
        : path_(std::move(path)), platform_(std::move(platform)), archive_(path_) {}

    PackageReport Check() {
        CheckPath();
        CheckEntries();
        CheckManifest();
        return report_;
    }

   private:
    void Error(const std::string& text) {
        report_.findings.push_back({true, text});
    }
    void Warning(const std::string& text) {
        report_.findings.push_back({false, text});
    }

    void CheckPath() {
        const std::string name = FileName(path_);
        const std::string problem = ShellPathProblem(path_);
        if (!problem.empty()) {
            Warning(problem);
        }
        if (name.size() >= sizeof ZnPackageInfo::packageName) {
            Warning(
                "the file name has more than 63 bytes: the local scan lists the zip without it");
        }
        if (!Contains(name, ".zip")) {
            Error("the file name has no \".zip\"");
        } else if (name.find(".zip") + 4 != name.size()) {
            Warning("\".zip\" is not the end of the file name: the zip is unpacked into \"" +
                    name.substr(0, name.find(".zip")) + "\", but installed from \"" +
                    name.substr(0, name.rfind('.')) + "\"");
        }
        if (!Contains(name, SideMark(SERVER_SIDE)) && !Contains(name, SideMark(CLIENT_SIDE))) {
            Warning(
                "the file name has neither \"_Server\" nor \"_Client\": no side selects it by "
                "its name");
        }
        if (IsReleaseBundle(name)) {
            Warning(
                "the file name has \"_Release.zip\": the zip is taken for a release bundle, which "
                "is unpacked but not installed");
        }
    }

    void CheckEntries() {
        for (const ZipEntry& entry : archive_.Entries()) {
            if (entry.isLink) {
                Warning(entry.name + " is a link: what it points at is installed");
            }
            if (LeadsUp(entry.name) || entry.name.rfind('/', 0) == 0) {
                Warning(entry.name + " leads out of the package's directory");
            }
        }
    }

    void CheckManifest() {
        const ZipEntry* entry = archive_.Find(kManifestName);
        if (entry == nullptr || entry->isLink) {
            Error(entry == nullptr ? "there is no FileList.ini"
                                   : "FileList.ini is a link and is not read");
            return;
        }
        try {
            CheckContents(ReadManifest(archive_, *entry, kManifestName));
        } catch (const PackageError& error) {
            Error(error.what());
        }
    }

    void CheckContents(const Manifest& manifest) {
        report_.platform = manifest.platform;
        CheckPlatform(manifest.platform);
        for (const std::string& oddity : manifest.oddities) {
            Warning(oddity);
        }
        if (!manifest.failure.empty()) {
            Error(manifest.failure);
        } else if (manifest.paths.empty()) {
            Warning("section [" + manifest.platform + "] is empty: nothing is installed");
        }
        for (const ManifestPath& path : manifest.paths) {
            CheckDestination(path);
            for (const std::string& name : path.files) {
                CheckFile(path, name);
            }
        }
    }

    void CheckPlatform(const std::string& platform) {
        if (platform.size() < 2) {
            Error("platform \"" + platform + "\" is shorter than 2 characters: no machine matches");
        } else if (platform.size() >= sizeof ZnPackageInfo::platform) {
            Warning("platform \"" + platform +
                    "\" has more than 63 bytes: no record can ask for all of it");
        }
        if (!platform_.empty() && platform.compare(0, platform_.size(), platform_) != 0) {
            Error("the package is for platform \"" + platform + "\", not for \"" + platform_ +
                  "\"");
        }
    }

    void CheckDestination(const ManifestPath& path) {
        const std::string where = path.key + "=" + path.destination;
        if (path.destination.empty() || path.destination.back() != '/') {
            Warning(where + " does not end with \"/\": file names are appended to it directly");
        }
        if (path.destination.empty() || path.destination.front() != '/') {
            Warning(where + " is not an absolute path: it depends on where the process runs");
        }
        if (LeadsUp(path.destination)) {
            Warning(where + " contains \"..\"");
        }
        if (path.files.empty()) {
            Warning(where + " has no files");
        }
    }

    void CheckFile(const ManifestPath& path, const std::string& name) {
        ++report_.fileCount;
        const std::string where = "[" + path.key + "] \"" + name + "\"";
        const ZipEntry* entry = archive_.Find(std::string(kPayloadDirectory) + "/" + name);
        if (entry == nullptr) {
            Error(where + " is listed, but Common/" + name + " is not in the zip");
        } else if (entry->size == 0 || entry->isDirectory) {
            Error(where + " is listed, but Common/" + name + " is empty");
        }
        if (LeadsUp(name)) {
            Warning(where + " contains \"..\"");
        }
        if (name.front() == ' ' || name.back() == ' ') {
            Warning(where + " begins or ends with a blank, which is part of the name");
        }
        const std::string destination = path.destination + name;
        const auto [other, isNew] = owners_.emplace(destination, path.key);
        if (!isNew) {
            Warning(destination + " is placed by [" + other->second + "] and by [" + path.key +
                    "]");
        }
    }

    std::string path_;
    std::string platform_;
    ZipArchive archive_;
    PackageReport report_;
    std::map<std::string, std::string> owners_;  // path key by destination
};

}  // namespace

bool PackageReport::HasErrors() const {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.isError; });
}

PackageReport CheckPackage(const std::string& path, const std::string& platform) {
    return Checker(path, platform).Check();
}
