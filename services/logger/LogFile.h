// The log file and its rotation.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "FileDescriptor.h"
#include "LineWriter.h"

// Appends lines to a file, a FIFO or a device. Not safe for concurrent use. Nothing here waits for
// a reader or raises a signal.
class LogFile {
   public:
    explicit LogFile(std::string path) : path_(std::move(path)) {}

    // Appends `line`, which ends with a line break. Returns false, with errno set, when it was not
    // written completely; the next line then starts on a line of its own.
    //
    // A regular file that would exceed 10 MiB is renamed to name.1.log and begun anew, where
    // name.1.log becomes name.2.log, and so on up to 4. When that fails, the file grows, no older
    // file is deleted, and the oldest one may stay as name.5.log until the next rotation.
    bool Append(std::string_view line);

    // The error that keeps the file from being rotated, as in errno; 0 when there is none.
    int RotationError() const {
        return rotationError_;
    }

   private:
    bool Open();

    // Rotates the file if it has no room for `size` more bytes. Returns false when no file is open
    // afterwards.
    bool MakeRoom(std::size_t size);

    // Renames the file and the older ones. Returns false when the file still has its name.
    bool Rotate();

    const std::string path_;
    FileDescriptor file_;  // closed: not opened yet, or failed
    LineWriter writer_;
    int rotationError_ = 0;
};
