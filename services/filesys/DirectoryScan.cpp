#include "DirectoryScan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace {

// The S_IF... type of an entry, taken from the directory itself where that tells it.
mode_t TypeOf(DIR* stream, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return static_cast<mode_t>(DTTOIF(entry.d_type));
    }
    struct stat status = {};
    if (fstatat(dirfd(stream), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return 0;
    }
    return status.st_mode & S_IFMT;
}

bool IsSelfOrParent(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// Adds the files that lie in `directory` itself to `files`, and its subdirectories to
// `directories`.
bool ListDirectory(const std::string& directory, std::vector<std::string>& files,
                   std::vector<std::string>& directories) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) {
        return false;
    }
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        const mode_t type = TypeOf(stream.get(), *entry);
        if (type == S_IFREG) {
            files.push_back(directory + entry->d_name);
        } else if (type == S_IFDIR && !IsSelfOrParent(entry->d_name)) {
            directories.push_back(directory + entry->d_name + "/");
        }
        errno = 0;
    }
    return errno == 0;
}

}  // namespace

bool ScanDirectory(const std::string& directory, std::vector<std::string>& files) {
    // An explicit list instead of recursion, so that depth exhausts neither stack nor descriptors.
    std::vector<std::string> pending{directory};
    bool complete = true;
    while (!pending.empty()) {
        const std::string next = std::move(pending.back());
        pending.pop_back();
        complete = ListDirectory(next, files, pending) && complete;
    }
    return complete;
}
