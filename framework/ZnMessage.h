// A message between the components of the framework, as far as its receivers read it in place.
#pragma once

#include <cstddef>
#include <cstdint>

// Integers are in host byte order. The payload follows the structure directly: payloadLength bytes
// from byte 24 on. The structure is packed, so a message may be read where it stands in a receive
// buffer, at any alignment.
struct __attribute__((packed)) ZnMessage {
    unsigned char header[20];  // routing fields of the framework, not for receivers
    int32_t payloadLength;     // in bytes, 0 or more in a sound message
};

static_assert(sizeof(ZnMessage) == 24, "the payload starts at byte 24");
static_assert(offsetof(ZnMessage, payloadLength) == 20, "the payload length stands at byte 20");
