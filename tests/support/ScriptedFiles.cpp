#include "ScriptedFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "ZnFileSys.h"

namespace fs = std::filesystem;

static bool IsFixed(const std::string& path) {
    return path.rfind("/usr/local/", 0) == 0;
}

static int RealRemove(const std::string& path) {
    if (IsFixed(path)) {
        return ScriptedFiles::Get().fixedFiles.erase(path) == 1 ? 0 : -1;
    }
    return ::unlink(path.c_str());
}

static long long RealWrite(const std::string& path, const std::string& data,
                           std::ios::openmode mode) {
    if (IsFixed(path)) {
        std::string& file = ScriptedFiles::Get().fixedFiles[path];
        file = mode == std::ios::app ? file + data : data;
        return static_cast<long long>(data.size());
    }
    std::ofstream out(path, std::ios::binary | mode);
    out << data << std::flush;
    return out ? static_cast<long long>(data.size()) : -1;
}

static int RealScan(const std::string& directory, std::vector<std::string>& files) {
    files.clear();
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(directory, error)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return error ? -1 : 0;
}

static long long RealSize(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

static bool RealExists(const std::string& path) {
    if (IsFixed(path)) {
        return ScriptedFiles::Get().fixedFiles.count(path) == 1;
    }
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

static int RealCopy(const std::string& source, const std::string& destination) {
    std::error_code error;
    fs::copy_file(source, destination, fs::copy_options::overwrite_existing, error);
    return error ? -1 : 0;
}

ScriptedFiles& ScriptedFiles::Get() {
    static ScriptedFiles files;
    return files;
}

void ScriptedFiles::Reset() {
    ScriptedFiles& files = Get();
    files = ScriptedFiles();
    files.mkDir = [](const std::string& path, unsigned short mode) {
        return ::mkdir(path.c_str(), mode);
    };
    files.removeFile = RealRemove;
    files.writeBinFile = [](const std::string& path, const std::string& data) {
        return RealWrite(path, data, std::ios::trunc);
    };
    files.appendWriteFile = [](const std::string& path, const std::string& data) {
        return RealWrite(path, data, std::ios::app);
    };
    files.scan = RealScan;
    files.fileSize = RealSize;
    files.copyFile = RealCopy;
}

static void Note(const std::string& call) {
    ScriptedFiles::Get().calls.push_back(call);
}

int ZnDir::ZnMkDir(const char* path, unsigned short mode) {
    std::ostringstream call;
    call << "mkdir " << path << " " << std::oct << mode;
    Note(call.str());
    return ScriptedFiles::Get().mkDir(path, mode);
}

int ZnFile::RemoveFile(const char* path) {
    Note(std::string("remove ") + path);
    return ScriptedFiles::Get().removeFile(path);
}

long long ZnFile::WriteBinFile(const char* path, const char* data, long long length) {
    Note(std::string("write ") + path);
    return ScriptedFiles::Get().writeBinFile(path, std::string(data, static_cast<size_t>(length)));
}

long long ZnFile::AppendWriteFile(const char* path, const char* data, long long length) {
    Note(std::string("append ") + path);
    return ScriptedFiles::Get().appendWriteFile(path,
                                                std::string(data, static_cast<size_t>(length)));
}

int ZnFile::ScanDirectoriesFiles(std::string directory, std::vector<std::string>& files) {
    Note("scan " + directory);
    return ScriptedFiles::Get().scan(directory, files);
}

long long ZnFile::FileSize(const char* path) {
    Note(std::string("size ") + path);
    return ScriptedFiles::Get().fileSize(path);
}

int ZnFile::ZnCopyFile(const char* source, const char* destination) {
    Note(std::string("copy ") + source + " " + destination);
    return ScriptedFiles::Get().copyFile(source, destination);
}

// Replaces access() of the C library, which the library under test uses only to test for existence.
// glibc declares the function with __THROW, which a replacement must repeat.
#ifndef __THROW
#define __THROW
#endif
extern "C" int access(const char* path, int) __THROW {
    return RealExists(path) ? 0 : -1;
}
