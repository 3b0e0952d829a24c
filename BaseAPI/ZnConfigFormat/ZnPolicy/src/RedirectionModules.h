// The redirection modules that a policy can limit.
#pragma once

// The one list of modules: add a redirection module here. "Total" is the pseudo-module of the total
// bandwidth.
inline constexpr const char* kRedirectionModules[] = {
    "Display", "Audio",   "Video",     "USB",  "Camera",   "PCSC", "TWAIN", "Printer",
    "COM",     "FdRedir", "Clipboard", "DXVA", "Security", "VCC",  "HID",   "Total",
};
