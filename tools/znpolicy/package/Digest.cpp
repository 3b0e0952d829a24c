#include "Digest.h"

#include <array>
#include <stdexcept>

static void Require(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("SHA-256 is not available in libcrypto");
    }
}

Digest::Digest() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    Require(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
}

void Digest::Add(const char* data, size_t size) {
    Require(EVP_DigestUpdate(context_.get(), data, size) == 1);
}

std::string Digest::Finish() {
    std::array<unsigned char, 32> digest = {};
    Require(EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr) == 1);
    std::string text;
    for (const unsigned byte : digest) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}
