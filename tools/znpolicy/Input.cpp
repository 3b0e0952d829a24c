#include "Input.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

std::string ReadInput(const std::string& name) {
    std::ostringstream contents;
    if (name == "-") {
        contents << std::cin.rdbuf();
        return contents.str();
    }
    errno = 0;
    std::ifstream in(name, std::ios::binary);
    in.peek();  // a directory opens, but cannot be read
    if (in.bad() || (!in && !in.eof())) {
        throw std::runtime_error(name + ": " + std::strerror(errno != 0 ? errno : EIO));
    }
    contents << in.rdbuf();
    return contents.str();
}
