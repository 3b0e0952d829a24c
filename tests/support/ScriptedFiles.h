// File operations that can be told to fail, in place of libZnFileSys, and access() with them.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// By default every operation works on the real file system, except below /usr/local: there, files
// are kept in memory, so that no test touches the machine or depends on what it holds. A test
// replaces an operation to make it fail.
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

    // What was asked, in order: "copy A B", "mkdir /x 777", ...
    std::vector<std::string> calls;

    // The operations in force.
    static ScriptedFiles& Get();

    // Back to the defaults, nothing kept.
    static void Reset();
};
