// Any bytes as a client package list message: header, payload length, payload. The first byte also
// selects the alignment of the message.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Check.h"
#include "RecordingLogger.h"
#include "ZnVcUpdate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < sizeof(ZnMessage)) {
        return -1;
    }
    const size_t payloadBytes = size - sizeof(ZnMessage);
    int32_t length = 0;
    std::memcpy(&length, data + offsetof(ZnMessage, payloadLength), sizeof length);
    const bool whole = length % static_cast<int>(sizeof(ZnPackageInfo)) == 0;
    if (whole && length > 0 && static_cast<size_t>(length) > payloadBytes) {
        return -1;  // the caller guarantees that the payload is as long as the message says
    }
    const size_t shift = data[0] % 16;
    // The message ends with the buffer, so that the sanitizer detects reads beyond it.
    std::vector<unsigned char> buffer(shift + size);
    std::memcpy(buffer.data() + shift, data, size);
    RecordingLogger::Clear();

    std::vector<ZnPackageInfo> records(2);
    const int result = ZnVcUpdate::ZnClientPackageListMessageToPackInfo(
        reinterpret_cast<ZnMessage*>(buffer.data() + shift), records);

    CHECK(result == (whole ? kSuccess : kFailure));
    const size_t count =
        whole && length > 0 ? static_cast<size_t>(length) / sizeof(ZnPackageInfo) : 0;
    CHECK(records.size() == count);
    CHECK(count == 0 || std::memcmp(records.data(), data + sizeof(ZnMessage),
                                    count * sizeof(ZnPackageInfo)) == 0);
    CHECK(RecordingLogger::Records().size() == 1);
    CHECK(RecordingLogger::Records()[0].level == (whole ? LogLevelInfo : LogLevelError));
    return 0;
}
