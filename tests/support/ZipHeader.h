// Zips whose headers do not tell the truth.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "TemporaryDirectory.h"

// Changes the uncompressed size that the zip `path` declares for its entry `name`, in the central
// directory and in front of the entry.
inline void DeclareSize(const std::string& path, const std::string& name, uint32_t size) {
    const struct {
        std::string signature;
        size_t sizeAt;
        size_t nameAt;
    } headers[] = {{"PK\x03\x04", 22, 30}, {"PK\x01\x02", 24, 46}};
    std::string zip = ReadFile(path);
    for (const auto& header : headers) {
        size_t at = zip.find(header.signature);
        while (at != std::string::npos && zip.compare(at + header.nameAt, name.size(), name) != 0) {
            at = zip.find(header.signature, at + 1);
        }
        if (at == std::string::npos) {
            throw std::runtime_error(path + " has no entry " + name);
        }
        for (size_t i = 0; i < 4; ++i) {
            zip[at + header.sizeAt + i] = static_cast<char>(size >> (8 * i));
        }
    }
    WriteFile(path, zip);
}
