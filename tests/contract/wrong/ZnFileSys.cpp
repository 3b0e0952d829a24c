// Wrong: reports success, and does nothing.
#include "ZnFileSys.h"

int ZnDir::ZnMkDir(const char* /*path*/, unsigned short /*mode*/) {
    return 0;
}

int ZnFile::RemoveFile(const char* /*path*/) {
    return 0;
}

long long ZnFile::WriteBinFile(const char* /*path*/, const char* /*data*/, long long length) {
    return length;
}

long long ZnFile::AppendWriteFile(const char* /*path*/, const char* /*data*/, long long length) {
    return length;
}

int ZnFile::ScanDirectoriesFiles(std::string /*directory*/, std::vector<std::string>& files) {
    files.clear();
    return 0;
}

long long ZnFile::FileSize(const char* /*path*/) {
    return 0;
}

int ZnFile::ZnCopyFile(const char* /*source*/, const char* /*destination*/) {
    return 0;
}
