// Base64 and SHA-256 of the framework (libZnCrypto). Nothing throws or logs. Safe from any thread,
// and in a child process that was forked while other threads use it.
#pragma once

#include <string>

#include "ZnExport.h"

// Base64.
class ZN_API ZnBase64 {
   public:
    // Decodes standard Base64 (RFC 4648, section 4) into `out`, which has room for `outSize` bytes.
    // Padding is required. Line breaks (CR, LF) are skipped, wherever they are. The unused bits of
    // the last digit are ignored. No terminator is added.
    // Returns the number of bytes decoded. Returns 0 and writes nothing when `text` is empty or not
    // Base64 (any other character; padding that is missing, too long or followed by more digits),
    // when it does not fit, or when `out` is null.
    static int Decode(const std::string& text, unsigned char* out, int outSize);
};

// SHA-256 digests.
class ZN_API ZnSha256 {
   public:
    // Returns the SHA-256 digest of the file's contents as 64 lower-case hexadecimal digits.
    // The result is "" when `path` is not a regular file or a link to one, cannot be read, or
    // changes its size meanwhile. Memory use does not depend on the size of the file.
    static std::string FileSha256Value(std::string path);
};
