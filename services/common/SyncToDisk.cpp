#include "SyncToDisk.h"

#include <fcntl.h>
#include <unistd.h>

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

bool SyncDirectoryToDisk(const std::string& path) {
    const FileDescriptor directory = FileDescriptor::Open(path.c_str(), O_RDONLY | O_DIRECTORY);
    return directory.IsOpen() && SyncToDisk(directory.Get());
}
