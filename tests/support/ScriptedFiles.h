// Replaces libZnFileSys and access() with operations that tests can make fail.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// By default the operations work on the real file system, except for files below /usr/local, which
// are kept in memory. A test replaces an operation to make it fail.
struct ScriptedFiles {
    std::function<int(const std::string& path, unsigned short mode)> mkDir;
    std::function<int(const std::string& path)> removeFile;
    std::function<long long(const std::string& path, const std::string& data)> writeBinFile;
    std::function<long long(const std::string& path, const std::string& data)> appendWriteFile;
    std::function<int(const std::string& directory, std::vector<std::string>& files)> scan;
    std::function<long long(const std::string& path)> fileSize;
    std::function<int(const std::string& source, const std::string& destination)> copyFile;

    // The files below /usr/local, by path.
    std::map<std::string, std::string> fixedFiles;

    // The calls in order: "copy A B", "mkdir /x 777", ...
    std::vector<std::string> calls;

    // The current operations.
    static ScriptedFiles& Get();

    // Restores the defaults and forgets all files and calls.
    static void Reset();
};
