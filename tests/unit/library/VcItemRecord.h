// Plugin records in tests: construction, bytewise comparison, printing.
#pragma once

#include <cstring>
#include <ostream>
#include <string>

#include "VekVcItems.h"

template <size_t N>
void SetText(char (&text)[N], const std::string& value) {
    value.copy(text, N - 1);
}

// All other bytes are zero. Texts have at most 31 characters.
inline VekVcItems Item(const std::string& text1, const std::string& text2, int32_t hexValue1,
                       int32_t hexValue2, const std::string& text3, const std::string& text4,
                       const std::string& text5) {
    VekVcItems item;
    std::memset(&item, 0, sizeof item);
    SetText(item.text1, text1);
    SetText(item.text2, text2);
    item.hexValue1 = hexValue1;
    item.hexValue2 = hexValue2;
    SetText(item.text3, text3);
    SetText(item.text4, text4);
    SetText(item.text5, text5);
    return item;
}

inline bool operator==(const VekVcItems& a, const VekVcItems& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline std::ostream& operator<<(std::ostream& out, const VekVcItems& item) {
    return out << '"' << item.text1 << "\", \"" << item.text2 << "\", " << item.hexValue1 << ", "
               << item.hexValue2 << ", \"" << item.text3 << "\", \"" << item.text4 << "\", \""
               << item.text5 << '"';
}
