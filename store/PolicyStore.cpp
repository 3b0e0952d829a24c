#include "PolicyStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

#include "AtomicFile.h"
#include "Directory.h"
#include "FileDescriptor.h"
#include "PolicyDocument.h"
#include "PolicyFile.h"
#include "SyncToDisk.h"

namespace {

// Policies are readable by everyone, whatever the publisher's umask.
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0644;

// Throws the error "ACTION PATH: REASON", the reason from errno.
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

void SyncDirectory(const std::string& path) {
    if (!SyncDirectoryToDisk(path)) {
        Fail("cannot sync the directory", path);
    }
}

// Creates the directory and its parents where they are missing.
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
            return;  // another publisher was faster
        }
        Fail("cannot create the directory", path);
    }
    if (chmod(path.c_str(), kDirectoryMode) != 0) {
        Fail("cannot set the mode of the directory", path);
    }
    SyncDirectory(parent);
}

// Returns the id of the policy file called `name`, or nothing for any other file.
std::optional<int> PolicyFileId(std::string_view name) {
    int id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    // Non-canonical names such as "007.cdb" are ignored.
    if (error != std::errc() || name != std::to_string(id).append(kPolicyFileSuffix)) {
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
    AtomicFile file(path, kFileMode);
    if (!file.IsOpen()) {
        Fail("cannot create a file in", directory_);
    }
    if (!WritePolicyFile(file.File(), items) || !file.SetMode(kFileMode)) {
        Fail("cannot write", path);
    }
    if (!file.Commit(Cleanup::kAlways)) {
        Fail("cannot replace", path);
    }
    SyncDirectory(directory_);
    return items.size();
}

std::vector<int> PolicyStore::List() const {
    const auto directory =
        ReadDirectory(FileDescriptor::Open(directory_.c_str(), O_RDONLY | O_DIRECTORY));
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
    const std::optional<PolicyFile> policy = PolicyFile::Open(path.c_str(), kMaxPolicyFileSize);
    if (!policy) {
        if (errno == EINVAL) {
            FailForUnusablePolicy(path);
        }
        FailToRead(id);
    }
    auto items = policy->Items();
    if (!items) {
        FailForUnusablePolicy(path);
    }
    return std::move(*items);
}

PolicyStore::Verification PolicyStore::Verify(int id) const {
    auto verification = PolicyFile::Verify(PolicyPath(id).c_str());
    if (!verification) {
        FailToRead(id);
    }
    return std::move(*verification);
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

void PolicyStore::FailToRead(int id) const {
    if (errno == ENOENT) {
        FailForMissingPolicy(id, directory_);
    }
    Fail("cannot read", PolicyPath(id));
}

std::string PolicyStore::PolicyPath(int id) const {
    return (directory_ + "/" + std::to_string(id)).append(kPolicyFileSuffix);
}
