#include <openssl/evp.h>

#include <array>
#include <memory>

#include "FileDescriptor.h"
#include "ZnCrypto.h"

namespace {

// Large enough that system calls cost nothing beside the hashing, small enough for any stack.
constexpr size_t kBufferSize = size_t{64} * 1024;
constexpr size_t kDigestSize = 32;

using Digest = std::array<unsigned char, kDigestSize>;

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const {
        EVP_MD_CTX_free(context);
    }
};

// Fetched once and kept until the process ends: looking an algorithm up costs more than hashing a
// small file. Null when libcrypto offers no SHA-256.
const EVP_MD* Sha256() {
    static const EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

bool HashToEnd(const FileDescriptor& file, Digest& digest) {
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex2(context.get(), Sha256(), nullptr) != 1) {
        return false;
    }
    unsigned char buffer[kBufferSize];
    ssize_t length = 0;
    while ((length = file.Read(buffer, sizeof buffer)) > 0) {
        if (EVP_DigestUpdate(context.get(), buffer, static_cast<size_t>(length)) != 1) {
            return false;
        }
    }
    return length == 0 && EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1;
}

std::string LowerCaseHex(const Digest& digest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (const unsigned char byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace

std::string ZnSha256::FileSha256Value(std::string path) {
    if (path.find('\0') != std::string::npos) {
        return "";  // the system would read the file named by what stands before it
    }
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    Digest digest = {};
    if (!file.IsOpen() || Sha256() == nullptr || !HashToEnd(file, digest)) {
        return "";
    }
    return LowerCaseHex(digest);
}
