#include <openssl/evp.h>
#include <pthread.h>

#include <array>
#include <exception>
#include <memory>
#include <mutex>

#include "FileDescriptor.h"
#include "ZnCrypto.h"

namespace {

constexpr size_t kDigestSize = 32;

using Digest = std::array<unsigned char, kDigestSize>;

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const {
        EVP_MD_CTX_free(context);
    }
};

std::mutex mutex;

// Fetching takes locks inside libcrypto. A child process forked meanwhile would wait for them
// forever, so forks wait until it is done.
[[maybe_unused]] const int forkHandlers =
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

// Returns the algorithm, or null when libcrypto offers no SHA-256. It is fetched only once, because
// that takes longer than hashing a small file.
const EVP_MD* Sha256() {
    static const EVP_MD* algorithm = nullptr;
    const std::lock_guard<std::mutex> lock(mutex);
    if (algorithm == nullptr) {
        algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    }
    return algorithm;
}

bool HashFile(const FileDescriptor& file, Digest& digest) {
    const EVP_MD* const algorithm = Sha256();
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    return algorithm != nullptr && context &&
           EVP_DigestInit_ex2(context.get(), algorithm, nullptr) == 1 &&
           file.ReadBlocks([&](const char* data, size_t size) {
               return EVP_DigestUpdate(context.get(), data, size) == 1;
           }) &&
           EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1;
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

std::string ZnSha256::FileSha256Value(std::string path) try {
    if (path.find('\0') != std::string::npos) {
        return "";  // the system would open the path before the NUL
    }
    const FileDescriptor file = FileDescriptor::OpenRegularFile(path.c_str());
    Digest digest = {};
    return file.IsOpen() && HashFile(file, digest) ? LowerCaseHex(digest) : "";
} catch (const std::exception&) {
    return "";
}
