#include "SyncToDisk.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "FileDescriptor.h"

bool SyncToDisk(int fd) {
#ifdef __APPLE__
    // There, fsync() leaves the data in the drive's cache. Not every file system supports
    // F_FULLFSYNC.
    if (fcntl(fd, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    return RetryOnEintr([&] { return fsync(fd); }) == 0;
}

bool SyncAllToDisk(const std::vector<int>& fds) {
#ifdef __linux__
    return fds.empty() || RetryOnEintr([&] { return syncfs(fds.front()); }) == 0;
#else
    return std::all_of(fds.begin(), fds.end(), SyncToDisk);
#endif
}

bool SyncDirectoryToDisk(const std::string& path) {
    const FileDescriptor directory = FileDescriptor::Open(path.c_str(), O_RDONLY | O_DIRECTORY);
    return directory.IsOpen() && SyncToDisk(directory.Get());
}
