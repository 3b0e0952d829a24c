#include "ScratchDirectory.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

ScratchDirectory::ScratchDirectory()
    : ScratchDirectory(std::filesystem::temp_directory_path().string()) {}

ScratchDirectory::ScratchDirectory(const std::string& parent)
    : path_((std::filesystem::path(parent) / ".znpolicy-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error(parent +
                                 ": no directory can be made in it: " + std::strerror(errno));
    }
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
