#include "ScratchDirectory.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

// Creates a directory in `parent`; a failure ends with `remedy`.
static std::string MakeDirectory(const std::string& parent, const std::string& remedy) {
    std::string path = (std::filesystem::path(parent) / ".znpolicy-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error(
            parent + ": no directory can be created here: " + std::strerror(errno) + remedy);
    }
    return path;
}

static std::string TemporaryParent() {
    const char* const parent = std::getenv("TMPDIR");
    return parent != nullptr && *parent != '\0' ? parent : "/tmp";
}

ScratchDirectory::ScratchDirectory()
    : path_(MakeDirectory(TemporaryParent(), "; set TMPDIR to a writable directory")) {}

ScratchDirectory::ScratchDirectory(const std::string& parent) : path_(MakeDirectory(parent, "")) {}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
