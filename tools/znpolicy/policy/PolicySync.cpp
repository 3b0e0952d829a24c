#include "PolicySync.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <exception>
#include <functional>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "Directory.h"
#include "FileDescriptor.h"
#include "Interrupt.h"
#include "Progress.h"

namespace {

constexpr std::string_view kDocumentSuffix = ".xml";

std::string DocumentName(int id) {
    return std::to_string(id).append(kDocumentSuffix);
}

// The files of a directory that are called .xml, in any case.
struct Documents {
    std::vector<int> ids;               // of <id>.xml, ascending
    std::vector<std::string> misnamed;  // "007.xml", "7.XML": probably meant to be one
    std::vector<std::string> others;
};

void AddFile(Documents& documents, const std::string& name) {
    const std::size_t stemSize = name.size() - std::min(name.size(), kDocumentSuffix.size());
    if (stemSize == 0 ||
        strncasecmp(name.c_str() + stemSize, kDocumentSuffix.data(), kDocumentSuffix.size()) != 0) {
        return;
    }
    int id = 0;
    std::from_chars(name.data(), name.data() + stemSize, id);
    if (name == DocumentName(id)) {
        documents.ids.push_back(id);
    } else if (name.find_first_not_of("0123456789+- ") == stemSize) {
        documents.misnamed.push_back(name);
    } else {
        documents.others.push_back(name);
    }
}

Documents FindDocuments(const std::string& path) {
    const Directory directory =
        ReadDirectory(FileDescriptor::Open(path.c_str(), O_RDONLY | O_DIRECTORY));
    Documents documents;
    if (directory) {
        errno = 0;
        while (const dirent* entry = readdir(directory.get())) {
            AddFile(documents, entry->d_name);
            errno = 0;
        }
    }
    if (errno != 0) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
    std::sort(documents.ids.begin(), documents.ids.end());
    std::sort(documents.misnamed.begin(), documents.misnamed.end());
    std::sort(documents.others.begin(), documents.others.end());
    return documents;
}

// Calls `step` with `begin` to `end` - 1, in at most `jobs` threads, until it returns false or a
// signal is pending. Returns the first number that it was not called with. Throws what a step has
// thrown.
std::size_t RunInParallel(std::size_t jobs, std::size_t begin, std::size_t end,
                          const std::function<bool(std::size_t)>& step) {
    std::atomic<std::size_t> next = begin;
    std::atomic<bool> stop = false;
    std::mutex mutex;
    std::exception_ptr failure;
    const auto work = [&] {
        try {
            while (!stop && PendingInterrupt() == 0) {
                const std::size_t i = next++;
                if (i >= end || !step(i)) {
                    stop = true;
                }
            }
        } catch (...) {
            stop = true;
            const std::lock_guard<std::mutex> lock(mutex);
            failure = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(jobs);
    try {
        while (threads.size() + 1 < std::min(jobs, end - begin)) {
            threads.emplace_back(work);
        }
    } catch (const std::exception&) {
        // Fewer threads do as well.
    }
    work();
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return std::min<std::size_t>(next, end);
}

// How many changed documents share a sync to disk, and how many threads there are at most. Each
// document needs two open files, each thread may add a document and has another file open.
std::size_t BatchSize() {
    constexpr rlim_t kMost = 512;
    rlimit files = {};
    return getrlimit(RLIMIT_NOFILE, &files) == 0
               ? static_cast<std::size_t>(std::clamp<rlim_t>(files.rlim_cur / 4, 1, kMost))
               : 1;
}

// One run of SyncPolicies().
class Synchronisation {
   public:
    Synchronisation(const PolicyStore& store, const SyncOptions& options)
        : store_(store),
          options_(options),
          policies_(options.removeOthers ? store.List() : std::vector<int>()),
          documents_(FindDocuments(options.directory)) {}

    SyncResult Run() {
        std::vector<int> obsolete = ObsoletePolicies();
        for (const std::string& name : documents_.misnamed) {
            result_.problems.push_back(options_.directory + "/" + name +
                                       ": not published: not called <id>.xml; an id is a decimal "
                                       "32-bit integer without leading zeros or plus sign");
        }
        if (!documents_.misnamed.empty() && !obsolete.empty()) {
            result_.problems.emplace_back("no policy removed because of misnamed documents");
            obsolete.clear();
        }
        result_.ignored = documents_.others;
        PublishAll();
        RemoveAll(obsolete);
        std::sort(result_.published.begin(), result_.published.end());
        std::sort(failures_.begin(), failures_.end());
        for (auto& [id, reason] : failures_) {
            result_.problems.push_back(std::move(reason));
        }
        return std::move(result_);
    }

   private:
    enum class Outcome { kChanged, kUnchanged, kRefused };

    // The policies to remove.
    std::vector<int> ObsoletePolicies() const {
        const std::vector<int>& ids = documents_.ids;
        std::vector<int> obsolete;
        std::set_difference(policies_.begin(), policies_.end(), ids.begin(), ids.end(),
                            std::back_inserter(obsolete));
        if (!obsolete.empty() && ids.empty()) {
            throw std::runtime_error(options_.directory +
                                     ": no documents <id>.xml; refusing to remove every policy");
        }
        return obsolete;
    }

    void PublishAll() {
        const std::vector<int>& ids = documents_.ids;
        const std::size_t batchSize = BatchSize();
        const std::size_t jobs = std::min<std::size_t>(options_.jobs, batchSize);
        Progress progress("synchronising", ids.size());
        for (std::size_t done = 0; done < ids.size();) {
            PolicyStore::Batch batch(store_);
            std::atomic<std::size_t> changed = 0;
            const std::size_t end = RunInParallel(jobs, done, ids.size(), [&](std::size_t i) {
                changed += Synchronise(ids[i], batch) ? 1 : 0;
                progress.Step();
                return changed < batchSize;
            });
            StopIfInterrupted(done);
            Commit(batch);
            done = end;
        }
        StopIfInterrupted(ids.size());
    }

    // Drops the current batch.
    void StopIfInterrupted(std::size_t done) const {
        if (const int signal = PendingInterrupt()) {
            throw Interrupted(signal, "the first " + std::to_string(done) + " of " +
                                          std::to_string(documents_.ids.size()) +
                                          " documents were synchronised, nothing was removed");
        }
    }

    // Returns whether the policy differs.
    bool Synchronise(int id, PolicyStore::Batch& batch) {
        std::string problem;
        const Outcome outcome = Stage(id, batch, problem);
        const std::lock_guard<std::mutex> lock(mutex_);
        switch (outcome) {
            case Outcome::kChanged:
                result_.published.push_back(id);
                break;
            case Outcome::kUnchanged:
                ++result_.unchanged;
                break;
            case Outcome::kRefused:
                failures_.emplace_back(id, problem);
                break;
        }
        return outcome == Outcome::kChanged;
    }

    // Adds the policy to the batch if it differs from the published one.
    Outcome Stage(int id, PolicyStore::Batch& batch, std::string& problem) const {
        const std::string name = DocumentPath(id);
        std::vector<PolicyStore::Item> items;
        try {
            items = PolicyStore::ParseDocument(Read(name), name);
        } catch (const std::runtime_error& error) {
            problem = error.what();
            return Outcome::kRefused;
        }
        if (store_.Holds(id, items)) {
            return Outcome::kUnchanged;
        }
        if (!options_.dryRun) {
            batch.Publish(id, items);
        }
        return Outcome::kChanged;
    }

    std::string DocumentPath(int id) const {
        return options_.directory + "/" + DocumentName(id);
    }

    static std::string Read(const std::string& name) {
        const FileDescriptor file = FileDescriptor::OpenRegularFile(name.c_str());
        if (!file.IsOpen() && errno == EINVAL) {
            throw std::runtime_error(name + ": not a regular file");
        }
        std::string document;
        if (!file.IsOpen() || !file.ReadAll(document, PolicyStore::kMaxDocumentSize)) {
            throw std::runtime_error(
                name + ": " +
                (errno == EFBIG ? "larger than the limit of 16 MiB" : std::strerror(errno)));
        }
        return document;
    }

    // Removes the policies that still have no document: one may have appeared meanwhile.
    void RemoveAll(const std::vector<int>& obsolete) {
        const std::size_t batchSize = BatchSize();
        for (std::size_t begin = 0; begin < obsolete.size(); begin += batchSize) {
            PolicyStore::Batch batch(store_);
            for (std::size_t i = begin; i < std::min(begin + batchSize, obsolete.size()); ++i) {
                if (HasDocument(obsolete[i])) {
                    continue;
                }
                result_.removed.push_back(obsolete[i]);
                if (!options_.dryRun) {
                    batch.Remove(obsolete[i]);
                }
            }
            Commit(batch);
        }
    }

    bool HasDocument(int id) const {
        struct stat status = {};
        return lstat(DocumentPath(id).c_str(), &status) == 0 || errno != ENOENT;
    }

    // Turns policies that could not be changed into problems.
    void Commit(PolicyStore::Batch& batch) {
        for (const PolicyStore::Batch::Failure& failure : batch.Commit()) {
            for (std::vector<int>* ids : {&result_.published, &result_.removed}) {
                ids->erase(std::remove(ids->begin(), ids->end(), failure.id), ids->end());
            }
            failures_.emplace_back(failure.id, failure.reason);
        }
    }

    const PolicyStore& store_;
    const SyncOptions& options_;
    const std::vector<int> policies_;  // to be removed unless they have a document
    const Documents documents_;        // found after them, so that a new policy has its document
    std::mutex mutex_;                 // guards `result_` and `failures_`
    SyncResult result_;
    std::vector<std::pair<int, std::string>> failures_;  // ids of policies, and problems
};

}  // namespace

SyncResult SyncPolicies(const PolicyStore& store, const SyncOptions& options) {
    return Synchronisation(store, options).Run();
}
