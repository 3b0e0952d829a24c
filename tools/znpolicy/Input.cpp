#include "Input.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace {

// More than any document of ours; stops a device that never ends.
constexpr size_t kMaxInput = size_t{1} << 30U;

std::string ReadAll(std::istream& in, const std::string& name) {
    std::string contents;
    std::array<char, 65536> buffer;
    while (in.read(buffer.data(), buffer.size()), in.gcount() > 0) {
        contents.append(buffer.data(), static_cast<size_t>(in.gcount()));
        if (contents.size() > kMaxInput) {
            throw std::runtime_error(name + ": larger than 1 GiB");
        }
    }
    if (in.bad()) {
        throw std::runtime_error(name + ": " + std::strerror(errno != 0 ? errno : EIO));
    }
    return contents;
}

}  // namespace

std::string InputTitle(const std::string& name) {
    return name == "-" ? "standard input" : name;
}

std::string ReadInput(const std::string& name) {
    errno = 0;
    if (name == "-") {
        return ReadAll(std::cin, InputTitle(name));
    }
    std::ifstream in(name, std::ios::binary);
    if (!in) {
        throw std::runtime_error(name + ": " + std::strerror(errno));
    }
    return ReadAll(in, name);
}
