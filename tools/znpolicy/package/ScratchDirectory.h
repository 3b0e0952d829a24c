// RAII: a temporary directory.
#pragma once

#include <string>

// Accessible to this user only; removed with the object. The constructors throw std::runtime_error
// when it cannot be created.
class ScratchDirectory {
   public:
    // Creates it in $TMPDIR, or in /tmp when that is unset or empty.
    ScratchDirectory();

    // Creates it in the directory `parent`.
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
