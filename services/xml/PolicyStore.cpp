#include "PolicyStore.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "PolicyDatabase.h"
#include "PolicyDocument.h"

namespace {

// Everyone may read policies, whatever the umask of the process that publishes.
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0644;

// Throws the error "ACTION PATH: what errno says".
[[noreturn]] void Fail(const std::string& action, const std::string& path) {
    const int reason = errno;
    throw PolicyStore::Error(action + " " + path + ": " + std::generic_category().message(reason));
}

[[noreturn]] void FailForMissingPolicy(int id, const std::string& directory) {
    throw PolicyStore::Error("no policy for id " + std::to_string(id) + " in " + directory);
}

[[noreturn]] void FailForUnusablePolicy(const std::string& path) {
    throw PolicyStore::Error("not a policy file, or a damaged one: " + path);
}

std::string ParentDirectory(const std::string& path) {
    const std::size_t separator = path.find_last_of('/');
    if (separator == std::string::npos) {
        return ".";
    }
    return separator == 0 ? "/" : path.substr(0, separator);
}

// Waits until the file or directory is on disk. Returns false, with errno set, on failure.
bool Sync(int file) {
#ifdef __APPLE__
    if (fcntl(file, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    return fsync(file) == 0;
}

void SyncDirectory(const std::string& path) {
    const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = directory >= 0 && Sync(directory);
    const int reason = errno;
    if (directory >= 0) {
        close(directory);
    }
    if (!synced) {
        errno = reason;
        Fail("cannot sync the directory", path);
    }
}

// Creates the directory and those above it, as far as they are missing.
void MakeDirectories(const std::string& path) {
    if (access(path.c_str(), F_OK) == 0) {
        return;
    }
    const std::string parent = ParentDirectory(path);
    if (parent != path) {
        MakeDirectories(parent);
    }
    if (mkdir(path.c_str(), kDirectoryMode) != 0) {
        if (errno == EEXIST) {
            return;  // by another publisher, just now
        }
        Fail("cannot create the directory", path);
    }
    if (chmod(path.c_str(), kDirectoryMode) != 0) {
        Fail("cannot set the mode of the directory", path);
    }
    SyncDirectory(parent);
}

// A new file beside `path`, which takes its place when it is committed and vanishes otherwise. Its
// name ends in six characters that make it unique; readers and List pass it over.
class TemporaryFile {
   public:
    explicit TemporaryFile(const std::string& path) : path_(path), temporary_(path + ".XXXXXX") {
        file_ = mkostemp(temporary_.data(), O_CLOEXEC);
        if (file_ < 0) {
            Fail("cannot create", temporary_);
        }
    }

    ~TemporaryFile() {
        if (file_ >= 0) {
            close(file_);
            unlink(temporary_.c_str());
        }
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int Descriptor() const {
        return file_;
    }

    void Commit() {
        if (fchmod(file_, kFileMode) != 0 || !Sync(file_)) {
            Fail("cannot write", temporary_);
        }
        if (rename(temporary_.c_str(), path_.c_str()) != 0) {
            Fail("cannot replace", path_);
        }
        close(file_);
        file_ = -1;
    }

   private:
    const std::string path_;
    std::string temporary_;
    int file_ = -1;
};

// The id of the policy file with this name, if it is one.
std::optional<int> PolicyFileId(std::string_view name) {
    int id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    if (error != std::errc() ||
        name != std::to_string(id).append(kPolicyFileSuffix)) {  // "007.cdb" is nobody's
        return std::nullopt;
    }
    return id;
}

}  // namespace

PolicyStore::Error::~Error() = default;

std::string PolicyStore::DefaultDirectory() {
    return PolicyStoreDirectory();
}

PolicyStore::PolicyStore(std::string directory) : directory_(std::move(directory)) {}

std::vector<PolicyStore::Item> PolicyStore::ParseDocument(std::string_view xml,
                                                          const std::string& name) {
    return ParsePolicyDocument(xml, name);
}

std::size_t PolicyStore::Publish(int id, std::string_view xml, const std::string& name) const {
    const std::vector<Item> items = ParsePolicyDocument(xml, name);
    MakeDirectories(directory_);
    const std::string path = PolicyPath(id);
    TemporaryFile file(path);
    if (!WritePolicyDatabase(file.Descriptor(), items)) {
        Fail("cannot write", path);
    }
    file.Commit();
    SyncDirectory(directory_);
    return items.size();
}

std::vector<int> PolicyStore::List() const {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(directory_.c_str()), closedir);
    if (!directory) {
        if (errno == ENOENT) {
            return {};
        }
        Fail("cannot read the directory", directory_);
    }
    std::vector<int> ids;
    errno = 0;
    while (const dirent* entry = readdir(directory.get())) {
        if (const auto id = PolicyFileId(entry->d_name)) {
            ids.push_back(*id);
        }
        errno = 0;
    }
    if (errno != 0) {
        Fail("cannot read the directory", directory_);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

std::vector<PolicyStore::Item> PolicyStore::Read(int id) const {
    const std::string path = PolicyPath(id);
    PolicyDatabase database;
    if (!database.Open(path.c_str())) {
        if (errno == ENOENT) {
            FailForMissingPolicy(id, directory_);
        }
        if (errno == EINVAL) {
            FailForUnusablePolicy(path);
        }
        Fail("cannot read", path);
    }
    auto items = database.Items();
    if (!items) {
        FailForUnusablePolicy(path);
    }
    return std::move(*items);
}

void PolicyStore::Remove(int id) const {
    const std::string path = PolicyPath(id);
    if (unlink(path.c_str()) != 0) {
        if (errno == ENOENT) {
            FailForMissingPolicy(id, directory_);
        }
        Fail("cannot remove", path);
    }
    SyncDirectory(directory_);
}

std::string PolicyStore::PolicyPath(int id) const {
    return (directory_ + "/" + std::to_string(id)).append(kPolicyFileSuffix);
}
