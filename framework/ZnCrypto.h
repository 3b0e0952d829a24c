// Base64 and SHA-256 of the framework (libZnCrypto). Nothing throws or logs; safe from any thread.
#pragma once

#include <string>

#include "ZnExport.h"

class ZN_API ZnBase64 {
   public:
    // Decodes standard Base64 (RFC 4648, section 4: padded, line breaks skipped) into `out`, which
    // has room for `outSize` bytes; nothing is written beyond them and no terminator is added.
    // Returns the number of bytes decoded, or 0 when `text` is not Base64 or does not fit, or
    // `out` is null; nothing is written then. Callers take 1 or less as a failure, and do not rely
    // on `out` then.
    //
    // Not Base64 is a text with any other character than the 64 digits, '=' and line breaks (CR,
    // LF), with padding that is missing, too long or followed by more digits. Line breaks may stand
    // anywhere. The bits that padding leaves over in the last digit are not looked at.
    static int Decode(const std::string& text, unsigned char* out, int outSize);
};

class ZN_API ZnSha256 {
   public:
    // Returns the SHA-256 digest of the file's contents as 64 lower-case hexadecimal digits, or ""
    // when `path` is not a regular file (or a link to one) that can be read to its end. Memory use
    // does not depend on the size of the file.
    static std::string FileSha256Value(std::string path);
};
