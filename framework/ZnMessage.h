// The part of a message between components of the framework that receivers read in place.
#pragma once

#include <cstddef>
#include <cstdint>

// Integers are in host byte order. The payload of payloadLength bytes follows the structure, from
// byte 24 on. The structure is packed, so it may lie at any alignment in a receive buffer.
struct __attribute__((packed)) ZnMessage {
    unsigned char header[20];  // routing fields of the framework, not for receivers
    int32_t payloadLength;     // in bytes; not negative in a valid message
};

static_assert(sizeof(ZnMessage) == 24, "the payload starts at byte 24");
static_assert(offsetof(ZnMessage, payloadLength) == 20, "the payload length is at byte 20");
