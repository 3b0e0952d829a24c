// Replacing a file as a whole.
#pragma once

#include <sys/types.h>

#include <string>

#include "Descriptor.h"

// A file that takes the place of another all at once: it is written under a name of its own in the
// same directory and renamed by Commit(). Without a successful Commit() nothing of it remains and
// the other file is untouched. The name begins with ".zn-", so that what a crash leaves behind can
// be told.
class Replacement {
   public:
    // Creates the file that is to stand at `path`, with the permissions `mode` less the umask.
    // Test File().IsOpen() afterwards.
    Replacement(const char* path, mode_t mode);
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    const Descriptor& File() const {
        return file_;
    }

    // Puts what was written on the disk and moves it into place. True when it stands there.
    bool Commit();

   private:
    std::string path_;
    std::string temporary_;  // empty once there is nothing to remove
    Descriptor file_;
};
