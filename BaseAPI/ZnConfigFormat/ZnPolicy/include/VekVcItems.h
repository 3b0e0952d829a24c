// One virtual-channel plugin of a terminal's policy.
#pragma once

#include <cstdint>
#include <type_traits>

// Plain record, filled by ZnVcVek::ZnParseVekVcItems from one item of the plugin list and copied
// bytewise. Texts are NUL-terminated, and all bytes after the NUL are zero. The component that
// loads the plugin defines what the fields mean.
struct VekVcItems {
    char text1[32];     // field 1
    char text2[32];     // field 2
    int32_t hexValue1;  // field 3, a hexadecimal number
    int32_t hexValue2;  // field 4, a hexadecimal number
    char text3[32];     // field 5
    char text4[32];     // field 6
    char text5[32];     // field 7
};

static_assert(sizeof(VekVcItems) == 168, "five texts and two integers, no padding");
static_assert(std::is_trivially_copyable<VekVcItems>::value, "copied bytewise");
