// A directory for the length of one command.
#pragma once

#include <string>

// Made for this user only; removed with the object.
class ScratchDirectory {
   public:
    // In the system's directory for temporary files.
    ScratchDirectory();

    // In the directory `parent`, which must exist.
    explicit ScratchDirectory(const std::string& parent);

    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    // Without a trailing separator.
    const std::string& Path() const {
        return path_;
    }

   private:
    std::string path_;
};
