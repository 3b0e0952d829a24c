// Paths that are safe on the command line on which the library runs unzip: it does not quote them.
#pragma once

#include <string>

// Returns which character of `path` sh or unzip would interpret, and what to do about it; "" when
// they take the path literally.
std::string ShellPathProblem(const std::string& path);

// Throws std::runtime_error with the problem of the zip's path, if it has one.
void RequirePlainPath(const std::string& zip);
