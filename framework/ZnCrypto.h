// Base64 and SHA-256 of the framework (libZnCrypto). Nothing throws or logs; safe from any thread.
#pragma once

#include <string>

#include "ZnExport.h"

class ZN_API ZnBase64 {
   public:
    // Decodes standard Base64 (RFC 4648, padded; line breaks between characters are skipped) into
    // `out`, which has room for `outSize` bytes; nothing is written beyond them and no terminator
    // is added. Returns the number of bytes decoded, or 0 when `text` is not Base64 or does not
    // fit. Callers take 1 or less as a failure, and do not rely on `out` then.
    static int Decode(const std::string& text, unsigned char* out, int outSize);
};

class ZN_API ZnSha256 {
   public:
    // Returns the SHA-256 digest of the file's contents as 64 lower-case hexadecimal digits, or ""
    // when the file cannot be read to its end.
    static std::string FileSha256Value(std::string path);
};
