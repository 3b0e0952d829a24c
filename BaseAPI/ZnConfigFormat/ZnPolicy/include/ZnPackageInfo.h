// One virtual-channel plugin package.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Plain record of 876 bytes without pointers, copied bytewise and sent in messages: its layout is
// part of the message format. Texts are NUL-terminated, except that a record taken from a message
// may lack the NUL; a text that does not fit its field leaves the field empty.
struct ZnPackageInfo {
    char application[64];            // application that the plugin belongs to
    char description[128];           // free text
    char downloadUrl[320];           // address of the zip
    char downloadZipSha256Hash[68];  // SHA-256 of the downloaded zip, hexadecimal
    char releaseDate[32];            // release date
    char microserviceName[32];       // name of the microservice
    char version[32];                // version of the package
    char platform[64];               // platform model that the package is built for
    char packageName[64];            // package name; for a local zip its file name
    char sha256Hash[68];             // SHA-256 of the package zip, hexadecimal
    int32_t size;                    // size of the package zip in bytes
};

static_assert(offsetof(ZnPackageInfo, application) == 0, "message format");
static_assert(offsetof(ZnPackageInfo, description) == 64, "message format");
static_assert(offsetof(ZnPackageInfo, downloadUrl) == 192, "message format");
static_assert(offsetof(ZnPackageInfo, downloadZipSha256Hash) == 512, "message format");
static_assert(offsetof(ZnPackageInfo, releaseDate) == 580, "message format");
static_assert(offsetof(ZnPackageInfo, microserviceName) == 612, "message format");
static_assert(offsetof(ZnPackageInfo, version) == 644, "message format");
static_assert(offsetof(ZnPackageInfo, platform) == 676, "message format");
static_assert(offsetof(ZnPackageInfo, packageName) == 740, "message format");
static_assert(offsetof(ZnPackageInfo, sha256Hash) == 804, "message format");
static_assert(offsetof(ZnPackageInfo, size) == 872, "message format");
static_assert(sizeof(ZnPackageInfo) == 876, "message format");
static_assert(std::is_trivially_copyable<ZnPackageInfo>::value, "copied bytewise");
