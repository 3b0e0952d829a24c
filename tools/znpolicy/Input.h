// Whole files as the commands read them.
#pragma once

#include <string>

// The contents of the file `name`, or of standard input for "-". Throws std::runtime_error, naming
// the file, when it cannot be read.
std::string ReadInput(const std::string& name);
