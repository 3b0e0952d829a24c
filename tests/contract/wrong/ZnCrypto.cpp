// Wrong: the same digest, of upper-case digits, for every file.
#include "ZnCrypto.h"

int ZnBase64::Decode(const std::string& /*text*/, unsigned char* /*out*/, int /*outSize*/) {
    return -1;
}

std::string ZnSha256::FileSha256Value(std::string /*path*/) {
    return "BA7816BF8F01CFEA";
}
