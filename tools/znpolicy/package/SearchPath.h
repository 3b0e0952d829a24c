// The system's standard search path, on which the installer finds its programs.
#pragma once

#include <string>

// The directories, separated by ":".
std::string StandardSearchPath();

// The path of the executable file `program` in one of them; "" when there is none.
std::string FindOnStandardSearchPath(const std::string& program);
