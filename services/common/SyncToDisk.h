// Flushing files and directories to stable storage.
#pragma once

#include <string>
#include <vector>

// Flushes the written data of an open file, or the entries of an open directory, to stable storage.
// Returns false, with errno set, on failure.
bool SyncToDisk(int fd);

// The same for open files of one file system; on Linux in a single call.
bool SyncAllToDisk(const std::vector<int>& fds);

// The same for the directory `path`: makes created, renamed and removed entries survive a power
// loss.
bool SyncDirectoryToDisk(const std::string& path);
