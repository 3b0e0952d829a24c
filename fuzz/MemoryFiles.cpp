#include "MemoryFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "ZnCrypto.h"
#include "ZnFileSys.h"

#ifndef __THROW
#define __THROW
#endif

MemoryFiles& MemoryFiles::Get() {
    static MemoryFiles files;
    return files;
}

static std::map<std::string, std::string>& Files() {
    return MemoryFiles::Get().files;
}

int ZnDir::ZnMkDir(const char* path, unsigned short) {
    return MemoryFiles::Get().directories.insert(path).second ? 0 : -1;
}

int ZnFile::RemoveFile(const char* path) {
    MemoryFiles::Get().changes.push_back({"remove", path});
    return Files().erase(path) == 1 ? 0 : -1;
}

long long ZnFile::WriteBinFile(const char* path, const char* data, long long length) {
    Files()[path].assign(data, static_cast<size_t>(length));
    return length;
}

long long ZnFile::AppendWriteFile(const char* path, const char* data, long long length) {
    Files()[path].append(data, static_cast<size_t>(length));
    return length;
}

int ZnFile::ScanDirectoriesFiles(std::string, std::vector<std::string>& files) {
    files.clear();
    return -1;
}

long long ZnFile::FileSize(const char* path) {
    const auto found = Files().find(path);
    return found == Files().end() ? -1 : static_cast<long long>(found->second.size());
}

int ZnFile::ZnCopyFile(const char* source, const char* destination) {
    const auto found = Files().find(source);
    if (found == Files().end()) {
        return -1;
    }
    const std::string contents = found->second;
    const bool over = Files().count(destination) == 1;
    MemoryFiles::Get().changes.push_back({over ? "copy over" : "copy", destination});
    Files()[destination] = contents;
    return 0;
}

// Digests are only compared, so the contents serve.
std::string ZnSha256::FileSha256Value(std::string path) {
    const auto found = Files().find(path);
    return found == Files().end() ? "" : found->second;
}

int ZnBase64::Decode(const std::string&, unsigned char*, int) {
    return 0;
}

extern "C" int access(const char* path, int mode) __THROW {
    const MemoryFiles& memory = MemoryFiles::Get();
    if (!memory.inForce) {
        return faccessat(AT_FDCWD, path, mode, 0);
    }
    return memory.files.count(path) + memory.directories.count(path) > 0 ? 0 : -1;
}

extern "C" int rename(const char* from, const char* to) __THROW {
    if (!MemoryFiles::Get().inForce) {
        return renameat(AT_FDCWD, from, AT_FDCWD, to);
    }
    const auto found = Files().find(from);
    if (found == Files().end()) {
        return -1;
    }
    std::string contents = std::move(found->second);
    Files().erase(found);
    Files()[to] = std::move(contents);
    return 0;
}
