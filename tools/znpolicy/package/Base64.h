// Base64 of update descriptions.
#pragma once

#include <string>

// Returns `text`, at most 1 GiB, in Base64 without line breaks.
std::string EncodeBase64(const std::string& text);

// Decodes Base64 as the library does; "" if the text is not Base64.
std::string DecodeBase64(const std::string& text);
