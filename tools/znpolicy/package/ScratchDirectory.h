// A directory for the length of one command.
#pragma once

#include <string>

// Made in the system's directory for temporary files, for this user only; removed with the object.
class ScratchDirectory {
   public:
    ScratchDirectory();
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
