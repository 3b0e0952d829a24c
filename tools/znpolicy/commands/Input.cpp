#include "Input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "FileDescriptor.h"

std::string InputTitle(const std::string& name) {
    return name == "-" ? "standard input" : name;
}

std::string ReadInput(const std::string& name, size_t maxSize) {
    std::string contents;
    std::string reason;
    if (!TryReadInput(name, maxSize, contents, reason)) {
        throw std::runtime_error(InputTitle(name) + ": " + reason);
    }
    return contents;
}

bool TryReadInput(const std::string& name, size_t maxSize, std::string& contents,
                  std::string& reason) {
    FileDescriptor file = name == "-" ? FileDescriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3))
                                      : FileDescriptor::Open(name.c_str(), O_RDONLY);
    if (file.IsOpen() && file.ReadAll(contents, maxSize)) {
        return true;
    }
    reason = errno == EFBIG ? "larger than the limit of " + std::to_string(maxSize >> 20U) + " MiB"
                            : std::strerror(errno);
    return false;
}
