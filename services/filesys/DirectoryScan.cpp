#include "DirectoryScan.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "Directory.h"

namespace {

// The S_IF... type of an entry, taken from the directory itself where possible.
mode_t TypeOf(DIR* directory, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return static_cast<mode_t>(DTTOIF(entry.d_type));
    }
    struct stat status = {};
    if (fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return 0;
    }
    return status.st_mode & S_IFMT;
}

bool IsSelfOrParent(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// Opens the directory `path`, relative to `root` and ending in "/" unless empty, component by
// component: a link that has taken the place of any of them is not followed.
FileDescriptor OpenBelow(const FileDescriptor& root, const std::string& path) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
    FileDescriptor directory = FileDescriptor::OpenAt(root.Get(), ".", kFlags);
    size_t begin = 0;
    for (size_t end = path.find('/'); directory.IsOpen() && end != std::string::npos;
         end = path.find('/', begin)) {
        const std::string component = path.substr(begin, end - begin);
        directory = FileDescriptor::OpenAt(directory.Get(), component.c_str(), kFlags);
        begin = end + 1;
    }
    return directory;
}

// Lists the tree below one directory.
class Scan {
   public:
    Scan(const std::string& directory, std::vector<std::string>& files)
        : prefix_(directory),
          root_(FileDescriptor::Open(directory.c_str(), O_RDONLY | O_DIRECTORY)),
          files_(files) {}

    bool Run() {
        // A list instead of recursion, so that a deep tree exhausts neither the stack nor the file
        // descriptors.
        pending_.emplace_back();
        bool isComplete = true;
        while (!pending_.empty()) {
            const std::string path = std::move(pending_.back());
            pending_.pop_back();
            isComplete = List(path) && isComplete;
        }
        return isComplete;
    }

   private:
    // Adds the files in the directory `path` to files_, and its subdirectories to pending_.
    bool List(const std::string& path) {
        const Directory directory = Open(path);
        if (!directory) {
            return false;
        }
        errno = 0;
        while (const dirent* entry = readdir(directory.get())) {
            const mode_t type = TypeOf(directory.get(), *entry);
            if (type == S_IFREG) {
                files_.push_back(prefix_ + path + entry->d_name);
            } else if (type == S_IFDIR && !IsSelfOrParent(entry->d_name)) {
                pending_.push_back(path + entry->d_name + "/");
            }
            errno = 0;
        }
        return errno == 0;
    }

    Directory Open(const std::string& path) const {
        if (prefix_.size() + path.size() >= PATH_MAX) {
            return nullptr;  // nobody could open the files in it
        }
        return ReadDirectory(OpenBelow(root_, path));
    }

    const std::string prefix_;
    const FileDescriptor root_;
    std::vector<std::string>& files_;
    std::vector<std::string> pending_;  // directories, relative to the root, ending in "/"
};

}  // namespace

bool ScanDirectory(const std::string& directory, std::vector<std::string>& files) {
    return Scan(directory, files).Run();
}
