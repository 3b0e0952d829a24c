// Whole files as the commands read them.
#pragma once

#include <string>

// What messages call the input `name`: the file itself, or "standard input" for "-".
std::string InputTitle(const std::string& name);

// The contents of the file `name`, or of standard input for "-". Throws std::runtime_error, naming
// the file, when it cannot be read.
std::string ReadInput(const std::string& name);
