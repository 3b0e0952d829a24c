// Whole files as command input.
#pragma once

#include <cstddef>
#include <string>

// The name of an input in messages: the file name, or "standard input" for "-".
std::string InputTitle(const std::string& name);

// Returns the contents of the file `name`, or of standard input for "-". Throws std::runtime_error,
// naming the input, when it cannot be read or is larger than `maxSize` bytes; no more than that is
// read.
std::string ReadInput(const std::string& name, size_t maxSize);

// Reads like ReadInput, but returns false and sets `reason`, without the input's name, on failure.
bool TryReadInput(const std::string& name, size_t maxSize, std::string& contents,
                  std::string& reason);
