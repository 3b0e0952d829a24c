// Wrong: upper-case digits, and no digest of the file.
#include "ZnCrypto.h"

int ZnBase64::Decode(const std::string& /*text*/, unsigned char* /*out*/, int /*outSize*/) {
    return -1;
}

std::string ZnSha256::FileSha256Value(std::string /*path*/) {
    return std::string(64, 'A');
}
