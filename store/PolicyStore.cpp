#include "PolicyStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
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

// "ACTION PATH: REASON", the reason from errno.
std::string FailureMessage(const std::string& action, const std::string& path) {
    const int reason = errno;
    return action + " " + path + ": " + std::generic_category().message(reason);
}

[[noreturn]] void Fail(const std::string& action, const std::string& path) {
    throw PolicyStore::Error(FailureMessage(action, path));
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

// A new policy in a temporary file.
class NewPolicy {
   public:
    NewPolicy(int id, const std::string& directory, std::string path,
              const std::vector<PolicyStore::Item>& items)
        : id_(id), path_(std::move(path)), file_(path_, kFileMode) {
        if (!file_.IsOpen()) {
            Fail("cannot create a file in", directory);
        }
        if (!WritePolicyFile(file_.File(), items) || !file_.SetMode(kFileMode)) {
            Fail("cannot write", path_);
        }
    }

    int Id() const {
        return id_;
    }
    const std::string& Path() const {
        return path_;
    }
    AtomicFile& File() {
        return file_;
    }

   private:
    int id_;
    std::string path_;
    AtomicFile file_;
};

// Keeps a file that is about to be replaced or removed, so that the file system frees it later.
FileDescriptor KeepOpen(const std::string& path) {
    return FileDescriptor::Open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
}

// Closes files in several threads. Freeing a file takes some file systems milliseconds, nearly all
// of them spent waiting; the bound of changed/sync in bench/PolicySyncBench.bounds needs this.
void CloseAll(std::vector<FileDescriptor> files) {
    constexpr std::size_t kMostThreads = 16;
    constexpr std::size_t kFilesPerThread = 8;
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < files.size(); i = next++) {
            files[i].Close();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(kMostThreads);
    try {
        while (threads.size() < std::min(kMostThreads, files.size() / kFilesPerThread)) {
            threads.emplace_back(work);
        }
    } catch (const std::system_error&) {
        // Fewer threads do as well.
    }
    work();
    for (std::thread& thread : threads) {
        thread.join();
    }
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
    NewPolicy policy(id, directory_, PolicyPath(id), items);
    if (!policy.File().Commit(Cleanup::kAlways)) {
        Fail("cannot replace", policy.Path());
    }
    SyncDirectory(directory_);
    return items.size();
}

bool PolicyStore::Holds(int id, const std::vector<Item>& items) const {
    const auto policy = PolicyFile::Open(PolicyPath(id).c_str(), kMaxPolicyFileSize);
    const auto held = policy && policy->HasCurrentFormat() ? policy->Items() : std::nullopt;
    return held && std::equal(held->begin(), held->end(), items.begin(), items.end(),
                              [](const Item& left, const Item& right) {
                                  return left.key == right.key && left.value == right.value;
                              });
}

struct PolicyStore::Batch::Impl {
    const PolicyStore& store;
    std::mutex mutex;  // guards `published`
    std::list<NewPolicy> published;
    std::vector<int> removed;
};

PolicyStore::Batch::Batch(const PolicyStore& store) : impl_(new Impl{store, {}, {}, {}}) {}

PolicyStore::Batch::~Batch() = default;

void PolicyStore::Batch::Publish(int id, const std::vector<Item>& items) {
    const PolicyStore& store = impl_->store;
    MakeDirectories(store.directory_);
    std::list<NewPolicy> policy;
    policy.emplace_back(id, store.directory_, store.PolicyPath(id), items);
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->published.splice(impl_->published.end(), policy);
}

void PolicyStore::Batch::Remove(int id) {
    impl_->removed.push_back(id);
}

std::vector<PolicyStore::Batch::Failure> PolicyStore::Batch::Commit() {
    const PolicyStore& store = impl_->store;
    if (impl_->published.empty() && impl_->removed.empty()) {
        return {};
    }
    std::vector<int> files;
    for (NewPolicy& policy : impl_->published) {
        files.push_back(policy.File().File().Get());
    }
    if (!SyncAllToDisk(files)) {
        Fail("cannot sync new files in", store.directory_);
    }
    std::vector<Failure> failures;
    std::vector<FileDescriptor> old;
    for (NewPolicy& policy : impl_->published) {
        old.push_back(KeepOpen(policy.Path()));
        if (!policy.File().CommitSynced()) {
            failures.push_back({policy.Id(), FailureMessage("cannot replace", policy.Path())});
        }
    }
    for (const int id : impl_->removed) {
        const std::string path = store.PolicyPath(id);
        old.push_back(KeepOpen(path));
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            failures.push_back({id, FailureMessage("cannot remove", path)});
        }
    }
    impl_->published.clear();
    impl_->removed.clear();
    CloseAll(std::move(old));
    SyncDirectory(store.directory_);
    return failures;
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
    if (errno == EINVAL) {
        throw Error("not a regular file: " + PolicyPath(id));
    }
    Fail("cannot read", PolicyPath(id));
}

std::string PolicyStore::PolicyPath(int id) const {
    return (directory_ + "/" + std::to_string(id)).append(kPolicyFileSuffix);
}
