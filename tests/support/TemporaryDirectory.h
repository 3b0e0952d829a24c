// RAII: a temporary directory, removed with its contents.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

class TemporaryDirectory {
   public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zn-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a directory like " + pattern);
        }
        path_ = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Without a trailing separator.
    const std::string& Path() const {
        return path_;
    }

    // The path of `name` in it.
    std::string operator/(const std::string& name) const {
        return path_ + "/" + name;
    }

   private:
    std::string path_;
};

// Writes a file, creating its directories.
inline void WriteFile(const std::string& path, const std::string& contents) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << contents << std::flush;
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

// The contents of a file.
inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}
