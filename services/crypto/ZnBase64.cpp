#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "ZnCrypto.h"

namespace {

enum class Kind : unsigned char { kForeign, kDigit, kPadding, kLineBreak };

constexpr std::array<Kind, 256> ClassifyAll() {
    std::array<Kind, 256> kinds = {};
    for (const char digit : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/") {
        kinds[static_cast<unsigned char>(digit)] = Kind::kDigit;
    }
    kinds['\0'] = Kind::kForeign;  // the end of the literal above
    kinds['='] = Kind::kPadding;
    kinds['\r'] = Kind::kLineBreak;
    kinds['\n'] = Kind::kLineBreak;
    return kinds;
}

constexpr std::array<Kind, 256> kKinds = ClassifyAll();

Kind KindOf(char character) {
    return kKinds[static_cast<unsigned char>(character)];
}

// Returns the number of bytes that `text` decodes to, or 0 when it is not Base64.
size_t DecodedSize(const std::string& text) {
    size_t digits = 0;
    size_t padding = 0;
    for (const char character : text) {
        switch (KindOf(character)) {
            case Kind::kDigit:
                if (padding != 0) {
                    return 0;
                }
                ++digits;
                break;
            case Kind::kPadding:
                ++padding;
                break;
            case Kind::kLineBreak:
                break;
            case Kind::kForeign:
                return 0;
        }
    }
    if (padding > 2 || (digits + padding) % 4 != 0) {
        return 0;
    }
    return (digits + padding) / 4 * 3 - padding;
}

// Decodes digits in blocks. Writes exactly `size` bytes.
class BlockDecoder {
   public:
    BlockDecoder(unsigned char* out, size_t size) : out_(out), left_(size) {}

    void Add(char character) {
        block_[length_++] = static_cast<unsigned char>(character);
        if (length_ == sizeof block_) {
            Flush();
        }
    }

    // Decodes the digits added so far. libcrypto returns three bytes even for a padded group, so
    // the end is cut off.
    void Flush() {
        unsigned char decoded[sizeof block_ / 4 * 3];
        EVP_DecodeBlock(decoded, block_, static_cast<int>(length_));
        const size_t size = std::min(length_ / 4 * 3, left_);
        std::memcpy(out_, decoded, size);
        out_ += size;
        left_ -= size;
        length_ = 0;
    }

   private:
    unsigned char* out_;
    size_t left_;
    unsigned char block_[4096];
    size_t length_ = 0;
};

}  // namespace

int ZnBase64::Decode(const std::string& text, unsigned char* out, int outSize) {
    // Checked here first, because libcrypto also accepts blanks and missing padding.
    const size_t size = DecodedSize(text);
    if (size == 0 || out == nullptr || outSize <= 0 || size > static_cast<size_t>(outSize)) {
        return 0;
    }
    BlockDecoder decoder(out, size);
    for (const char character : text) {
        if (KindOf(character) != Kind::kLineBreak) {
            decoder.Add(character);
        }
    }
    decoder.Flush();
    return static_cast<int>(size);
}
