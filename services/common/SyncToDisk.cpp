#include "SyncToDisk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "FileDescriptor.h"

bool SyncToDisk(int fd) {
#ifdef __APPLE__
    // fsync() alone leaves the data in the drive's cache there. Not every file system supports the
    // stronger request.
    if (fcntl(fd, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    int result = fsync(fd);
    while (result < 0 && errno == EINTR) {
        result = fsync(fd);
    }
    return result == 0;
}

bool SyncDirectoryToDisk(const std::string& path) {
    const FileDescriptor directory = FileDescriptor::Open(path.c_str(), O_RDONLY | O_DIRECTORY);
    return directory.IsOpen() && SyncToDisk(directory.Get());
}
