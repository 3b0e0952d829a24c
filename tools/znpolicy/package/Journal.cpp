#include "Journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "FileDescriptor.h"
#include "SyncToDisk.h"
#include "TemporaryFiles.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kRecordFile = "/record";
constexpr size_t kMaxRecordSize = size_t{1} << 30;

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

std::string ParentOf(const std::string& path) {
    const size_t separator = path.find_last_of('/');
    if (separator == std::string::npos) {
        return ".";
    }
    return separator == 0 ? "/" : path.substr(0, separator);
}

bool IsAbsent(const std::string& path) {
    return PathState::Of(path).kind == PathState::Kind::kAbsent;
}

// `paths`, and the directories above them that do not exist.
std::set<std::string> WithMissingDirectories(const std::set<std::string>& paths) {
    std::set<std::string> all = paths;
    for (const std::string& path : paths) {
        for (std::string parent = ParentOf(path);
             parent != "/" && parent != "." && all.count(parent) == 0 && IsAbsent(parent);
             parent = ParentOf(parent)) {
            all.insert(parent);
        }
    }
    return all;
}

Json ToJson(const timespec& time) {
    return {static_cast<int64_t>(time.tv_sec), static_cast<int64_t>(time.tv_nsec)};
}

Json ToJson(const PathState& state) {
    return {{"kind", static_cast<int>(state.kind)},
            {"mode", state.mode},
            {"owner", state.owner},
            {"group", state.group},
            {"size", state.size},
            {"modified", ToJson(state.modified)},
            {"target", state.target},
            {"device", static_cast<uint64_t>(state.device)},
            {"inode", static_cast<uint64_t>(state.inode)},
            {"changed", ToJson(state.changed)}};
}

Json ToJson(const Journal::Entry& entry) {
    return {{"path", entry.path},
            {"before", ToJson(entry.before)},
            {"copy", entry.copy},
            {"tree", entry.isTree},
            {"after", ToJson(entry.after)}};
}

timespec TimeFromJson(const Json& json) {
    timespec time = {};
    time.tv_sec = json.at(0).get<time_t>();
    time.tv_nsec = json.at(1).get<long>();
    return time;
}

PathState StateFromJson(const Json& json) {
    PathState state;
    state.kind = static_cast<PathState::Kind>(json.at("kind").get<int>());
    state.mode = json.at("mode").get<mode_t>();
    state.owner = json.at("owner").get<uid_t>();
    state.group = json.at("group").get<gid_t>();
    state.size = json.at("size").get<off_t>();
    state.modified = TimeFromJson(json.at("modified"));
    state.target = json.at("target").get<std::string>();
    state.device = json.at("device").get<dev_t>();
    state.inode = json.at("inode").get<ino_t>();
    state.changed = TimeFromJson(json.at("changed"));
    return state;
}

Journal::Entry FromJson(const Json& json) {
    Journal::Entry entry;
    entry.path = json.at("path").get<std::string>();
    entry.before = StateFromJson(json.at("before"));
    entry.copy = json.at("copy").get<std::string>();
    entry.isTree = json.at("tree").get<bool>();
    entry.after = StateFromJson(json.at("after"));
    return entry;
}

Json RecordOf(const Json& description, const std::vector<Journal::Entry>& entries) {
    Json list = Json::array();
    for (const Journal::Entry& entry : entries) {
        list.push_back(ToJson(entry));
    }
    return {{"description", description}, {"entries", list}};
}

// If `from` is now what was at `to`, renames it back. Returns whether it did; what cannot be
// renamed is restored from its copy.
bool RenameIfMoved(const Journal::Entry& from, const Journal::Entry& to) try {
    return IsSameFile(PathState::Of(from.path), to.before) &&
           !IsSameFile(PathState::Of(to.path), to.before) &&
           std::rename(from.path.c_str(), to.path.c_str()) == 0;
} catch (const std::runtime_error&) {
    return false;
}

// What is in a new tree, each path by itself.
void AddTree(const std::string& tree, std::vector<Journal::Entry>& entries) {
    for (const auto& below : fs::recursive_directory_iterator(tree)) {
        Journal::Entry entry;
        entry.path = below.path();
        entry.after = PathState::Of(entry.path);
        entries.push_back(std::move(entry));
    }
}

// Writes the record as CBOR, in which paths may be any bytes.
void WriteRecord(const std::string& path, const Json& record) {
    const std::vector<uint8_t> bytes = Json::to_cbor(record);
    FileDescriptor file = FileDescriptor::Open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    const auto size = static_cast<long long>(bytes.size());
    if (!file.IsOpen() || file.Write(reinterpret_cast<const char*>(bytes.data()), size) != size ||
        !SyncToDisk(file.Get()) || !file.Close()) {
        Fail("cannot write", path);
    }
}

// Where a journal is while it is made, or while it is removed.
std::string DraftOf(const std::string& directory) {
    return directory + ".incomplete";
}

// Renames a directory so that the new name survives a power loss; if it cannot, the old name stays.
void Move(const std::string& from, const std::string& to) {
    if (std::rename(from.c_str(), to.c_str()) != 0) {
        Fail("cannot rename", from);
    }
    if (!SyncDirectoryToDisk(ParentOf(to)) || !SyncDirectoryToDisk(ParentOf(from))) {
        const int error = errno;
        (void)std::rename(to.c_str(), from.c_str());
        errno = error;
        Fail("cannot flush to disk", ParentOf(to));
    }
}

}  // namespace

Journal Journal::Create(const std::string& directory, const std::set<std::string>& paths,
                        const std::set<std::string>& newTrees, const Json& description) {
    std::set<std::string> all = paths;
    all.insert(newTrees.begin(), newTrees.end());
    const std::string draft = DraftOf(directory);
    fs::remove_all(draft);  // of a run that was interrupted before it changed anything
    if (mkdir(draft.c_str(), 0700) != 0) {
        Fail("cannot create", draft);
    }
    try {
        Journal journal;
        journal.directory_ = directory;
        journal.description_ = description;
        for (const std::string& path : WithMissingDirectories(all)) {
            Entry entry;
            entry.path = path;
            entry.before = PathState::Of(path);
            entry.isTree = newTrees.count(path) != 0;
            if (entry.before.kind == PathState::Kind::kFile) {
                entry.copy = std::to_string(journal.entries_.size());
                KeepFile(path, entry.before, draft + "/" + entry.copy);
            }
            journal.entries_.push_back(std::move(entry));
        }
        WriteRecord(draft + kRecordFile, RecordOf(description, journal.entries_));
        if (!SyncDirectoryToDisk(draft) || std::rename(draft.c_str(), directory.c_str()) != 0 ||
            !SyncDirectoryToDisk(ParentOf(directory))) {
            Fail("cannot complete the journal", directory);
        }
        return journal;
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(draft, ignored);
        throw;
    }
}

Journal Journal::Open(const std::string& directory) try {
    const std::string path = directory + kRecordFile;
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    std::string bytes;
    if (!file.IsOpen() || !file.ReadAll(bytes, kMaxRecordSize)) {
        Fail("cannot read", path);
    }
    const Json record = Json::from_cbor(bytes);
    Journal journal;
    journal.directory_ = directory;
    journal.description_ = record.at("description");
    for (const Json& entry : record.at("entries")) {
        journal.entries_.push_back(FromJson(entry));
    }
    return journal;
} catch (const Json::exception& error) {
    throw std::runtime_error("damaged journal " + directory + ": " + error.what() +
                             "; restore what you need from the files in it, then remove it");
}

bool Journal::Exists(const std::string& directory) {
    return !IsAbsent(directory + kRecordFile);
}

const Journal::Entry* Journal::Find(const std::string& path) const {
    const auto found = std::lower_bound(
        entries_.begin(), entries_.end(), path,
        [](const Entry& entry, const std::string& wanted) { return entry.path < wanted; });
    return found != entries_.end() && found->path == path ? &*found : nullptr;
}

bool Journal::IsUnchanged(const Entry& entry) const {
    return ::IsUnchanged(entry.path, entry.before, directory_ + "/" + entry.copy);
}

void Journal::Restore(const Entry& entry) const {
    if (entry.isTree) {
        fs::remove_all(entry.path);
        return;
    }
    RestoreAs(entry, entry.path);
}

void Journal::RestoreAs(const Entry& entry, const std::string& path) const {
    RestorePath(path, entry.before, directory_ + "/" + entry.copy);
}

void Journal::RestoreAll() const {
    for (const std::string& directory : Directories()) {
        // Those of the installer, or of a restoration that was interrupted; they take space.
        RemoveAbandonedFilesBeside(directory + "/", Cleanup::kAlways);
    }
    std::string failures;
    const auto restore = [&](PathState::Kind kind, auto entry, auto end) {
        for (; entry != end; ++entry) {
            try {
                if (entry->before.kind == kind) {
                    Restore(*entry);
                }
            } catch (const std::runtime_error& error) {  // fs::filesystem_error is one
                failures += (failures.empty() ? "" : "; ") + std::string(error.what());
            }
        }
    };
    restore(PathState::Kind::kDirectory, entries_.begin(), entries_.end());
    RenameBack();
    restore(PathState::Kind::kAbsent, entries_.rbegin(), entries_.rend());
    restore(PathState::Kind::kFile, entries_.begin(), entries_.end());
    restore(PathState::Kind::kLink, entries_.begin(), entries_.end());
    if (!failures.empty()) {
        throw std::runtime_error(failures);
    }
    SyncDirectories();
}

void Journal::RenameBack() const {
    for (const Entry& entry : entries_) {
        const Entry* const backup = Find(entry.path + ".bak");
        if (backup != nullptr && !RenameIfMoved(*backup, entry)) {
            RenameIfMoved(entry, *backup);
        }
    }
}

std::set<std::string> Journal::Directories() const {
    std::set<std::string> directories;
    for (const Entry& entry : entries_) {
        directories.insert(ParentOf(entry.path));
    }
    return directories;
}

void Journal::SyncDirectories() const {
    for (const std::string& directory : Directories()) {
        if (!IsAbsent(directory) && !SyncDirectoryToDisk(directory)) {
            Fail("cannot flush to disk", directory);
        }
    }
}

void Journal::KeepChanges() {
    std::vector<Entry> changed;
    std::vector<std::string> dropped;
    for (const Entry& entry : entries_) {
        if (IsUnchanged(entry)) {
            dropped.push_back(entry.copy);
            continue;
        }
        if (entry.isTree) {
            AddTree(entry.path, changed);
        }
        changed.push_back({entry.path, entry.before, entry.copy, false, PathState::Of(entry.path)});
    }
    std::sort(changed.begin(), changed.end(),
              [](const Entry& a, const Entry& b) { return a.path < b.path; });
    const std::string record = directory_ + kRecordFile;
    WriteRecord(record + ".new", RecordOf(description_, changed));
    if (std::rename((record + ".new").c_str(), record.c_str()) != 0 ||
        !SyncDirectoryToDisk(directory_)) {
        Fail("cannot replace", record);
    }
    entries_ = std::move(changed);
    for (const std::string& copy : dropped) {
        if (!copy.empty()) {
            unlink((directory_ + "/" + copy).c_str());
        }
    }
}

void Journal::Retain(const std::function<bool(const Entry&)>& wanted) {
    entries_.erase(std::remove_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return !wanted(entry); }),
                   entries_.end());
}

void Journal::MoveTo(const std::string& directory) {
    Move(directory_, directory);
    directory_ = directory;
}

void DiscardJournal(const std::string& directory) {
    const std::string draft = DraftOf(directory);
    fs::remove_all(draft);
    Move(directory, draft);
    std::error_code ignored;  // what is left is removed by the next journal
    fs::remove_all(draft, ignored);
}
