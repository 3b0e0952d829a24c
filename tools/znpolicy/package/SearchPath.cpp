#include "SearchPath.h"

#include <unistd.h>

#include <array>
#include <sstream>

std::string StandardSearchPath() {
    std::array<char, 1024> path = {};
    const size_t size = confstr(_CS_PATH, path.data(), path.size());
    return size > 0 && size <= path.size() ? path.data() : "/usr/bin:/bin";
}

std::string FindOnStandardSearchPath(const std::string& program) {
    std::istringstream directories(StandardSearchPath());
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string path = directory + "/" + program;
        if (access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}
