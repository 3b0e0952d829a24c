// The redirection modules whose bandwidth a policy can limit.
#pragma once

#include <string_view>

// The total bandwidth, which is limited like a module.
inline constexpr const char* kTotalBandwidth = "Total";

// The modules: add a redirection module here.
inline constexpr const char* kRedirectionModules[] = {
    "Display", "Audio",   "Video",     "USB",  "Camera",   "PCSC", "TWAIN", "Printer",
    "COM",     "FdRedir", "Clipboard", "DXVA", "Security", "VCC",  "HID",   kTotalBandwidth,
};

// Those that are also known by a name with "Zn" before it. Deliberately only some.
inline constexpr std::string_view kPrefixedModules[] = {
    "ZnAudio", "ZnCamera", "ZnClipboard", "ZnDisplay", "ZnFdRedir", "ZnPrinter", "ZnTotal",
};
