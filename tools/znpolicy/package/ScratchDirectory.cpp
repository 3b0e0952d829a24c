#include "ScratchDirectory.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

ScratchDirectory::ScratchDirectory()
    : path_((std::filesystem::temp_directory_path() / "znpolicy-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error(path_ + ": cannot make a temporary directory");
    }
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
