#include "SimulatedFiles.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "PackageError.h"
#include "Paths.h"
#include "ZnCrypto.h"

namespace fs = std::filesystem;

static bool Exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// Removes repeated and trailing separators.
static std::string Normal(const std::string& directory) {
    std::string path = (fs::path(directory) / ".").lexically_normal().parent_path().string();
    return path.empty() ? "." : path;
}

SimulatedFiles::Target& SimulatedFiles::At(const std::string& destination) {
    const std::string path = CanonicalPath(destination);
    const auto known = targets_.find(path);
    if (known != targets_.end()) {
        return known->second;
    }
    const std::string digest = ZnSha256::FileSha256Value(destination);
    std::error_code ignored;
    if (digest.empty() && fs::is_regular_file(destination, ignored)) {
        throw PackageError("cannot read " + destination);  // whether it changes is not known
    }
    const Target onDisk = {Exists(destination), digest, Exists(destination + ".bak"), digest};
    return targets_.emplace(path, onDisk).first->second;
}

void SimulatedFiles::MakeDirectory(const std::string& directory) {
    const std::string path = Normal(directory);
    std::error_code ignored;
    if (directory.empty() || fs::exists(fs::symlink_status(path, ignored))) {
        return;  // a dangling link cannot become a directory, either
    }
    if (DirectoryProblem(Normal(fs::path(path).parent_path().string())).empty()) {
        made_.insert(path);
    }
}

std::string SimulatedFiles::WriteProblem(const std::string& destination) const {
    return DirectoryProblem(Normal(fs::path(destination).parent_path().string()));
}

std::string SimulatedFiles::DirectoryProblem(const std::string& directory) const {
    std::error_code ignored;
    if (made_.count(directory) == 1) {
        return "";
    }
    if (!Exists(directory)) {
        return directory + " does not exist";
    }
    if (!fs::is_directory(directory, ignored)) {
        return directory + " is not a directory";
    }
    return access(directory.c_str(), W_OK | X_OK) == 0 ? "" : directory + " cannot be written";
}
