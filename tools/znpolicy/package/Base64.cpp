#include "Base64.h"

#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <cstddef>

#include "ZnCrypto.h"

std::string EncodeBase64(const std::string& text) {
    std::string encoded((text.size() + 2) / 3 * 4, '\0');  // libcrypto adds a terminator
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                    reinterpret_cast<const unsigned char*>(text.data()),
                    static_cast<int>(text.size()));
    return encoded;
}

std::string DecodeBase64(const std::string& text) {
    if (text.size() > INT_MAX) {
        return "";
    }
    std::string decoded(text.size(), '\0');
    const int size = ZnBase64::Decode(text, reinterpret_cast<unsigned char*>(decoded.data()),
                                      static_cast<int>(decoded.size()));
    decoded.resize(static_cast<std::size_t>(std::max(size, 0)));
    return decoded;
}
