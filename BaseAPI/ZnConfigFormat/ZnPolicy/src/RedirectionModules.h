// The redirection modules whose bandwidth a policy can limit.
#pragma once

// The only list of modules: add a redirection module here. "Total" stands for the total bandwidth.
inline constexpr const char* kRedirectionModules[] = {
    "Display", "Audio",   "Video",     "USB",  "Camera",   "PCSC", "TWAIN", "Printer",
    "COM",     "FdRedir", "Clipboard", "DXVA", "Security", "VCC",  "HID",   "Total",
};
