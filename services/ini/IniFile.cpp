#include "IniFile.h"

#include "FileDescriptor.h"

namespace {

constexpr size_t kMaxSize = size_t{16} << 20;

// How long a time stamp may stand still while the file goes on changing: the tick of a kernel, with
// a margin; or the two seconds of an old file system, which writes whole seconds only.
constexpr double kTick = 0.02;
constexpr double kCoarseTick = 3;

#ifdef __APPLE__
timespec Modified(const struct stat& status) {
    return status.st_mtimespec;
}
timespec Changed(const struct stat& status) {
    return status.st_ctimespec;
}
#else
timespec Modified(const struct stat& status) {
    return status.st_mtim;
}
timespec Changed(const struct stat& status) {
    return status.st_ctim;
}
#endif

bool AreEqual(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

FileStamp MakeStamp(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, Modified(status), Changed(status)};
}

timespec Now() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Whether the tick in which a file was `changed` is over. A time in the future (the clock was set
// back) does not count as over.
bool IsTickOver(const timespec& changed, const timespec& now) {
    const double age = difftime(now.tv_sec, changed.tv_sec) +
                       static_cast<double>(now.tv_nsec - changed.tv_nsec) * 1e-9;
    return age > (changed.tv_nsec == 0 ? kCoarseTick : kTick);
}

std::optional<FileContents> ReadOpen(const FileDescriptor& file) {
    const timespec now = Now();
    struct stat status;
    if (fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    FileContents contents;
    contents.stamp = MakeStamp(status);
    if (!file.ReadAll(contents.text, kMaxSize)) {
        return std::nullopt;
    }
    // A file that holds more or less than it says changes while it is read, or is made up by the
    // kernel and changes without a new stamp.
    contents.settled = static_cast<off_t>(contents.text.size()) == status.st_size &&
                       IsTickOver(contents.stamp.changed, now);
    return contents;
}

}  // namespace

bool FileStamp::operator==(const FileStamp& other) const {
    return IsOfSameFile(other) && size == other.size && AreEqual(modified, other.modified) &&
           AreEqual(changed, other.changed);
}

std::optional<FileStamp> StampOf(const char* path) {
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return MakeStamp(status);
}

std::optional<FileContents> ReadContents(const char* path) {
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path);
    return file.IsOpen() ? ReadOpen(file) : std::nullopt;
}
