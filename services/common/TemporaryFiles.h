// Temporary files in the directory of the file that they replace.
#pragma once

#include <string>
#include <string_view>

#include "FileDescriptor.h"

// Returns an unpredictable name for a temporary file in the directory of `path`: ".zn-" and 16
// lower-case hexadecimal digits.
std::string TemporaryNameBeside(const std::string& path);

// Whether `name`, without its directory, has that form.
bool IsTemporaryName(std::string_view name);

// Locks the new temporary file `file` to show that it is in use, for as long as it is open. Returns
// false when another process has removed the file in the meantime, or is about to.
bool ClaimTemporaryFile(const FileDescriptor& file);

enum class Cleanup {
    kAlways,
    // Per thread, a directory with n entries is read only once in n calls in a row, so that the
    // cost per call does not depend on n. The bound of install/ours in bench/InstallBench.bounds
    // needs this.
    kNowAndThen,
};

// Removes temporary files in the directory of `path` that nobody uses any more, because the process
// that wrote them was killed. Keeps errno, and ignores failures.
void RemoveAbandonedFilesBeside(const std::string& path, Cleanup cleanup);
