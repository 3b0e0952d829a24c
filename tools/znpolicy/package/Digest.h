// SHA-256 of data that is not in a file (OpenSSL).
#pragma once

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <string>

class Digest {
   public:
    Digest();

    void Add(const char* data, size_t size);

    // Ends the calculation. Returns the digest in the form of ZnSha256: 64 lower-case hexadecimal
    // digits.
    std::string Finish();

   private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
};
